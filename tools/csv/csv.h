// SPDX-License-Identifier: MIT
// Plain comma lists with a head line. Fields may stand in quotes, lines end in LF or CR LF, a byte-order mark is
// skipped. Nothing in such a file is fatal: a row that cannot be used is told and left out. Any thread.
#pragma once

#include <cstddef>
#include <filesystem>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace kes {

struct CsvCount {
    std::size_t good = 0; ///< rows that the receiver took
    std::size_t bad = 0;  ///< rows with too few fields or an open quote, and rows that the receiver refused
};

/// The wanted columns of one row, in the order asked for, stripped of blanks outside quotes. The views live for the
/// call.
struct CsvRow {
    std::size_t line = 0; ///< where the row begins, from 1
    std::span<const std::string_view> fields;
    std::string_view operator[](std::size_t i) const { return fields[i]; }
};
/// Takes a row, or tells why not.
using CsvTake = std::function<std::string(const CsvRow&)>;
/// Hears of each bad row: its line and the reason.
using CsvComplaint = std::function<void(std::size_t line, std::string reason)>;

enum class CsvForm {
    plain,  ///< commas and double quotes
    guessed ///< commas, semicolons or tabs, whichever the head line has most of; single quotes when it begins with one
};

/// Reads `text`; columns are found by their names in the head line, in any case and order. A name that begins with '?'
/// may be missing and then gives empty fields. Nothing (and the reason in `problem`) when a column is missing.
std::optional<CsvCount> readCsvText(std::string_view text, const std::vector<std::string>& columns, const CsvTake& take,
                                    const CsvComplaint& complain, std::string& problem, CsvForm form = CsvForm::plain);

/// The same from a file. `problem` begins with the path.
std::optional<CsvCount> readCsv(const std::filesystem::path& path, const std::vector<std::string>& columns,
                                const CsvTake& take, const CsvComplaint& complain, std::string& problem,
                                CsvForm form = CsvForm::plain);

/// The text as one field of the plain form, in quotes where it needs them.
std::string csvField(std::string_view text);

/// The whole of a file as bytes; nothing when it cannot be read.
std::optional<std::string> readBytes(const std::filesystem::path& path);

} // namespace kes
