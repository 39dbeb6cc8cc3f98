// libFuzzer target for the containers: the first byte picks the number bag, the integer
// table or the string table, and the rest is an operation script checked step by step
// against the container's reference model.
#include "../tests/containers/ContainerScripts.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, std::size_t size);

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, std::size_t size) {
    if (size == 0)
        return 0;
    std::string failure;
    switch (data[0] % 3) {
    case 0:
        failure = orvik_test::runNumberBagScript(data + 1, size - 1);
        break;
    case 1:
        failure = orvik_test::runIntegerTableScript(data + 1, size - 1);
        break;
    default:
        failure = orvik_test::runStringTableScript(data + 1, size - 1);
        break;
    }
    if (!failure.empty()) {
        std::fprintf(stderr, "%s\n", failure.c_str());
        std::abort();
    }
    return 0;
}
