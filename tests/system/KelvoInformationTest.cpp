// KelvoInformation::setup reading the system summary from a private /proc/sysinfo.
#include <orvik_utilities/system/KelvoInformation.h>

#include "support/Sandbox.h"

#include <gtest/gtest.h>

#include <unistd.h>

namespace {

using namespace orvik_test;
using orvik_sandbox::kSummaryFile;
using orvik_sandbox::summaryText;
using KelvoInformationEnvTest = MountNamespaceTest;

// Model, WWAN, WLAN, GNSS, Ethernet switch and USB host types.
std::string fields(KelvoInformation const& info) {
    std::string text;
    for (int value : {info.getModel(), info.getWwanType(), info.getWlanType(), info.getGnssType(),
                      info.getEthernetSwitchType(), info.getUsbHostControllerType()})
        text += (text.empty() ? "" : " ") + std::to_string(value);
    return text;
}

// The first name of the table found anywhere decides: each R variant comes before its plain
// name, and TQ5320 before TQ5631.
TEST_F(KelvoInformationEnvTest, TheFirstNameOfTheTableInTheFirst999BytesDecides) {
    KelvoInformation info;
    EXPECT_EQ(fields(info), "0 0 0 0 0 0");
    std::string why;
    ASSERT_TRUE(orvik_sandbox::provideSummary(*ns, "", &why)) << why;
    // clang-format off
    std::pair<char const*, char const*> const models[] = {
        {"TQ5010", "1 2 0 0 0 0"}, {"TQ5xxx", "1 2 0 0 0 0"}, {"TQ5320", "2 3 0 0 2 0"}, {"TQ5321", "3 4 0 2 2 0"},
        {"TQ5630", "4 5 0 0 2 2"}, {"TQ5631", "5 5 0 3 2 2"}, {"TQ5850", "6 5 2 0 2 2"}, {"TQ5851", "7 5 2 3 2 2"},
        {"TQ5800", "8 6 2 4 2 2"}, {"TQ5800R", "9 6 2 4 2 2"}, {"TQ5900", "10 6 2 4 2 2"}, {"TQ5900R", "11 6 2 4 2 2"},
        {"TQ9999", "0 0 0 0 0 0"}, {"TQ5631 TQ5320", "2 3 0 0 2 0"}, {"TQ5851", "7 5 2 3 2 2"}};
    // clang-format on
    for (auto const& model : models) {
        ASSERT_TRUE(writeFile(kSummaryFile, summaryText(model.first)));
        EXPECT_TRUE(info.setup());
        EXPECT_EQ(fields(info), model.second) << model.first;
    }
    // Without a product type, or without a file, setup fails and the fields stay.
    for (std::string const bad : {"", "Product: TQ5321\n", "<no file>"}) {
        ASSERT_TRUE(bad[0] == '<' ? unlink(kSummaryFile) == 0 : writeFile(kSummaryFile, bad));
        EXPECT_FALSE(info.setup());
        EXPECT_EQ(fields(info), "7 5 2 3 2 2") << bad;
    }
    // A name whose last character is byte 999 counts; one byte later it does not.
    std::string const head = "Product type: " + std::string(979, '.');
    ASSERT_TRUE(writeFile(kSummaryFile, head + "TQ5321" + std::string(500, '.')));
    EXPECT_TRUE(info.setup());
    EXPECT_EQ(info.getModel(), KelvoInformation::MODEL_TQ5321);
    ASSERT_TRUE(writeFile(kSummaryFile, head + ".TQ5321"));
    EXPECT_TRUE(info.setup());
    EXPECT_EQ(fields(info), "0 0 0 0 0 0");
}

} // namespace
