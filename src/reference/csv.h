// Plain comma lists with a head line. Fields may stand in double quotes, lines end in LF or CR LF, a byte-order mark is
// skipped. Nothing in such a file is fatal: a row that cannot be used is counted and left out. Any thread.
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

/// Receives the wanted columns of one row, in the order asked for, stripped of blanks outside quotes. The views live
/// for the call. False counts the row as bad.
using CsvRow = std::function<bool(std::span<const std::string_view> fields)>;

/// Reads `text`; columns are found by their names in the head line, in any case and order. A name that begins with '?'
/// may be missing and then gives empty fields. Nothing (and the reason in `problem`) when a column is missing.
std::optional<CsvCount> readCsvText(std::string_view text, const std::vector<std::string_view>& columns,
                                    const CsvRow& row, std::string& problem);

/// The same from a file. `problem` begins with the path.
std::optional<CsvCount> readCsv(const std::filesystem::path& path, const std::vector<std::string_view>& columns,
                                const CsvRow& row, std::string& problem);

/// The text as one CSV field, in quotes where it needs them.
std::string csvField(std::string_view text);

/// The whole of a file as bytes; nothing when it cannot be read.
std::optional<std::string> readBytes(const std::filesystem::path& path);

} // namespace kes
