// The model table, and setup reading a system summary written by the test into a private
// /proc/sysinfo.
#include <orvik_utilities/system/KelvoInformation.h>

#include "support/Sandbox.h"
#include "support/VirtualSlot.h"
#include "system/ProductTable.h"

#include <gtest/gtest.h>

#include <unistd.h>

namespace {

using namespace orvik_test;

// Every row: the name, then model, WWAN, WLAN, GNSS, Ethernet switch, USB host types.
struct {
    char const* name;
    char const* fields;
} const kModels[] = {
    {"TQ5010", "1 2 0 0 0 0"},  {"TQ5xxx", "1 2 0 0 0 0"},        {"TQ5320", "2 3 0 0 2 0"},
    {"TQ5321", "3 4 0 2 2 0"},  {"TQ5630", "4 5 0 0 2 2"},        {"TQ5631", "5 5 0 3 2 2"},
    {"TQ5850", "6 5 2 0 2 2"},  {"TQ5851", "7 5 2 3 2 2"},        {"TQ5800", "8 6 2 4 2 2"},
    {"TQ5800R", "9 6 2 4 2 2"}, {"TQ5900", "10 6 2 4 2 2"},       {"TQ5900R", "11 6 2 4 2 2"},
    {"TQ9999", "0 0 0 0 0 0"},  {"TQ5631 TQ5320", "2 3 0 0 2 0"}, // table order decides
};

std::string fields(orvik::detail::ProductRow const& row) {
    std::string text;
    for (int32_t value : {row.model, row.wwanType, row.wlanType, row.gnssType,
                          row.ethernetSwitchType, row.usbHostControllerType})
        text += (text.empty() ? "" : " ") + std::to_string(value);
    return text;
}

std::string fields(KelvoInformation const& info) {
    return fields({info.getModel(), info.getWwanType(), info.getWlanType(), info.getGnssType(),
                   info.getEthernetSwitchType(), info.getUsbHostControllerType()});
}

TEST(KelvoInformationTest, FirstNameOfTheTableDecidesOnceTheSummaryHasAProductType) {
    for (auto const& model : kModels) {
        orvik::detail::ProductRow row{-1, -1, -1, -1, -1, -1};
        ASSERT_TRUE(orvik::detail::productFromSummary(
            (std::string("Product type: ") + model.name).c_str(), &row));
        EXPECT_EQ(fields(row), model.fields) << model.name;
    }
    orvik::detail::ProductRow untouched{7, 7, 7, 7, 7, 7};
    EXPECT_FALSE(orvik::detail::productFromSummary("Product: TQ5010\n", &untouched));
    EXPECT_EQ(untouched.model, 7);
}

TEST(KelvoInformationTest, LayoutAndVirtualSlotsMatchTheDevice) {
    EXPECT_EQ(sizeof(KelvoInformation), sizeof(void*) == 4 ? 28u : 32u);
    EXPECT_EQ(fields(KelvoInformation()), "0 0 0 0 0 0");
    EXPECT_EQ(virtualSlot(&KelvoInformation::setup), 2);
    EXPECT_EQ(virtualSlot(&KelvoInformation::getModel), 3);
    EXPECT_EQ(virtualSlot(&KelvoInformation::getUsbHostControllerType), 8);
}

constexpr char kSummary[] = "/proc/sysinfo/summary";

class KelvoInformationEnvTest : public MountNamespaceTest {
protected:
    void prepare() override { ASSERT_TRUE(ns->privateDir("/proc/sysinfo")) << ns->error(); }
};

TEST_F(KelvoInformationEnvTest, SetupFillsEveryFieldFromTheSummary) {
    KelvoInformation info;
    EXPECT_FALSE(info.setup()); // no summary yet
    for (auto const& model : kModels) {
        ASSERT_TRUE(writeFile(kSummary, "Kernel: 4.9\nProduct type: " + std::string(model.name) +
                                            "\nSerial: 5010\n"));
        EXPECT_TRUE(info.setup()) << model.name;
        EXPECT_EQ(fields(info), model.fields) << model.name;
    }
}

TEST_F(KelvoInformationEnvTest, SetupWithoutAProductTypeKeepsTheFieldsAndOnly999BytesCount) {
    KelvoInformation info;
    // The name counts anywhere, not only on the product type line.
    ASSERT_TRUE(writeFile(kSummary, "Board TQ5321\nProduct type: ?\n"));
    ASSERT_TRUE(info.setup());
    for (char const* bad : {"", "Product: TQ5010\n"}) {
        ASSERT_TRUE(writeFile(kSummary, bad));
        EXPECT_FALSE(info.setup());
        EXPECT_EQ(fields(info), "3 4 0 2 2 0");
    }
    // A name whose last character is byte 999 is seen; one byte later it is not.
    std::string const head = "Product type: " + std::string(979, '.');
    ASSERT_TRUE(writeFile(kSummary, head + "TQ5851" + std::string(500, '.')));
    EXPECT_TRUE(info.setup());
    EXPECT_EQ(info.getModel(), KelvoInformation::MODEL_TQ5851);
    ASSERT_TRUE(writeFile(kSummary, head + ".TQ5851" + std::string(500, '.')));
    EXPECT_TRUE(info.setup());
    EXPECT_EQ(fields(info), "0 0 0 0 0 0");
    ASSERT_EQ(unlink(kSummary), 0);
    EXPECT_FALSE(info.setup());
}

} // namespace
