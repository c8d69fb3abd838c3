// SPDX-License-Identifier: MIT
// Lists that users may have edited: any bytes must end, and each field must survive being written and read again.
#include "tools/csv/csv.h"

#include <cstdint>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text{reinterpret_cast<const char*>(data), size};
    std::string problem;
    for (const kes::CsvForm form : {kes::CsvForm::plain, kes::CsvForm::guessed}) {
        std::size_t complaints = 0, lastLine = 0;
        const auto count = kes::readCsvText(
            text, {"a", "?b"},
            [&](const kes::CsvRow& row) -> std::string {
                std::string again;
                kes::readCsvText(
                    "x,y\n" + kes::csvField(row[0]) + ",1\n", {"x"},
                    [&again](const kes::CsvRow& inner) {
                        again = inner[0];
                        return std::string();
                    },
                    nullptr, again);
                if (again != row[0] || row.line <= lastLine)
                    __builtin_trap();
                lastLine = row.line;
                return row[1].empty() ? "" : "refused";
            },
            [&](std::size_t, const std::string&) { ++complaints; }, problem, form);
        if (count && count->bad != complaints)
            __builtin_trap();
    }
    return 0;
}
