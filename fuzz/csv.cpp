// SPDX-License-Identifier: MIT
// Lists that users may have edited: any bytes must end, and each field must survive being written and read again.
#include "tools/csv/csv.h"

#include "fuzz/fuzz.h"

using kes::fuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text = kes::fuzz::textOf(data, size);
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
                require(again == row[0] && row.line > lastLine);
                lastLine = row.line;
                return row[1].empty() ? "" : "refused";
            },
            [&](std::size_t, const std::string&) { ++complaints; }, problem, form);
        require(!count || count->bad == complaints);
    }
    return 0;
}
