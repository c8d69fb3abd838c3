// SPDX-License-Identifier: MIT
// The registrations of the reference document. Only for the files of this folder.
#pragma once

#include "reference/regcode_table.h"

#include <cstddef>
#include <exception>
#include <optional>
#include <pugixml.hpp>
#include <string>
#include <string_view>
#include <vector>

namespace kes::reference {

bool isTrue(std::string_view value); ///< a boolean attribute

/// Collects records. What there is to tell waits until `finish`: the other sections of the document come first, and an
/// unreadable document before all.
class AirframeReader {
public:
    /// Takes the `db` elements below. Nothing more once a value was broken.
    void read(pugi::xml_node section);
    /// Logs, throws the failure if there was one, and hands the table over.
    RegcodeTable finish();

private:
    void readOne(pugi::xml_node element);
    std::string airline(const char* stored);

    struct Note {
        bool unencrypted = false; ///< an airline in plain letters, else a registration that came again
        std::string code;
    };
    RegcodeTable records;
    std::vector<Note> notes;
    std::exception_ptr failure;
};

/// Where the section of the registrations lies in the text of a document. `rest` is the text with an empty section in
/// its place.
struct AirframeSection {
    std::string_view body;
    std::string rest;
    std::ptrdiff_t nameAt = 0; ///< of the empty section in `rest`, bytes

    /// True when the parsed `rest` has the empty section as the first of its name at the top. Only then the section was
    /// rightly found: it may have stood in a comment or deeper down.
    bool foundIn(const pugi::xml_document& document, const pugi::xml_parse_result& result) const;
};
/// Nothing when the text has no such section, or is of a kind in which bytes are not characters.
std::optional<AirframeSection> findAirframeSection(std::string_view text);

constexpr std::size_t usualPiece = 65536; ///< bytes; its tree fits the processor's cache
/// Parses the body piece by piece, each of `pieceSize` bytes or a little more. False when that does not work out, which
/// does not say that the document is wrong. Throws std::runtime_error once the run is to end.
bool readInPieces(std::string_view body, std::size_t pieceSize, AirframeReader& reader);

} // namespace kes::reference
