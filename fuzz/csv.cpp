// Lists that users may have edited: any bytes must end, and each field must survive being written and read again.
#include "reference/csv.h"

#include <cstdint>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string problem;
    kes::readCsvText(
        {reinterpret_cast<const char*>(data), size}, {"a", "?b"},
        [](std::span<const std::string_view> fields) {
            std::string again;
            kes::readCsvText(
                "x,y\n" + kes::csvField(fields[0]) + ",1\n", {"x"},
                [&again](std::span<const std::string_view> row) {
                    again = row[0];
                    return true;
                },
                again);
            if (again != fields[0]) {
                __builtin_trap();
            }
            return true;
        },
        problem);
    return 0;
}
