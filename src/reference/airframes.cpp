// SPDX-License-Identifier: MIT
#include "reference/airframes.h"

#include "core/log.h"
#include "core/run_state.h"
#include "reference/scramble.h"

#include <algorithm>
#include <array>
#include <fmt/format.h>
#include <iterator>
#include <stdexcept>

namespace kes::reference {

namespace {

constexpr std::string_view beginTag = "<dbase>", endTag = "</dbase>", elementStart = "<db ";

template <std::size_t Size> void pack(std::array<char, Size>& target, const std::string& code) {
    code.copy(target.data(), target.size());
}

} // namespace

bool isTrue(std::string_view value) {
    return !value.empty() && std::string_view("1tTyY").find(value.front()) != std::string_view::npos;
}

std::string AirframeReader::airline(const char* stored) {
    const std::string_view text = stored;
    if (text.size() == 3) {
        notes.push_back({true, std::string(text)});
        return std::string(text);
    }
    return decryptAirline(text);
}

void AirframeReader::readOne(pugi::xml_node element) {
    // One pass over the attributes: to search each by its name costs more than all else here. The first of a name
    // counts.
    enum Field { reg, airl, type, opr, cargo, fields };
    constexpr std::array<std::string_view, fields> names{"reg", "airl", "type", "opr", "cargo"};
    std::array<const char*, fields> values{};
    for (const pugi::xml_attribute attribute : element.attributes()) {
        const auto field = std::find(names.begin(), names.end(), std::string_view(attribute.name()));
        if (field == names.end())
            continue;
        const char*& value = values[static_cast<std::size_t>(field - names.begin())];
        if (!value)
            value = attribute.value();
    }
    const auto valueOf = [&](Field field) { return values[field] ? values[field] : ""; };
    const std::string regcode = decryptRegcode(valueOf(reg));
    PackedRecord record;
    pack(record.airl, airline(valueOf(airl)));
    pack(record.opr, airline(valueOf(opr)));
    pack(record.type, decryptModel(valueOf(type)));
    record.cargo = isTrue(valueOf(cargo));
    if (!records.insert(regcode, record))
        notes.push_back({false, regcode});
}

void AirframeReader::read(pugi::xml_node section) {
    if (failure)
        return;
    try {
        for (const pugi::xml_node element : section.children("db")) {
            if (stopWanted())
                throw std::runtime_error("the run was ended");
            readOne(element);
        }
    } catch (const std::exception&) {
        failure = std::current_exception();
    }
}

RegcodeTable AirframeReader::finish() {
    for (const Note& note : notes) {
        if (note.unencrypted)
            (void)decryptAirline(note.code); // which tells it
        else
            log(fmt::format("regcode {} already exists", note.code));
    }
    if (failure)
        std::rethrow_exception(failure);
    records.shrink();
    return std::move(records);
}

std::optional<AirframeSection> findAirframeSection(std::string_view text) {
    const std::size_t begin = text.find(beginTag);
    if (begin == std::string_view::npos)
        return {};
    const std::size_t body = begin + beginTag.size(), end = text.find(endTag, body);
    // A zero ends a document for the parser, whatever follows.
    if (end == std::string_view::npos || text.find('\0') != std::string_view::npos)
        return {};
    AirframeSection section;
    section.body = text.substr(body, end - body);
    section.rest.append(text.substr(0, begin)).append("<dbase/>").append(text.substr(end + endTag.size()));
    section.nameAt = static_cast<std::ptrdiff_t>(begin) + 1;
    return section;
}

bool AirframeSection::foundIn(const pugi::xml_document& document, const pugi::xml_parse_result& result) const {
    return result && result.encoding == pugi::encoding_utf8 && document.child("dbase").offset_debug() == nameAt;
}

bool readInPieces(std::string_view body, std::size_t pieceSize, AirframeReader& reader) {
    std::string piece;
    pugi::xml_document document;
    std::size_t from = 0, size = pieceSize;
    while (from < body.size()) {
        if (stopWanted())
            throw std::runtime_error("the run was ended");
        std::size_t to = body.size();
        if (size < body.size() - from)
            to = std::min(to, body.find(elementStart, from + size));
        piece.assign(beginTag).append(body.substr(from, to - from)).append(endTag);
        // With the section's tags around it, a piece parses exactly when the whole would have got to its end and there
        // stood between two elements. A cut inside a comment or a value shows as an error, and the piece is tried
        // longer.
        const auto result =
            document.load_buffer_inplace(piece.data(), piece.size(), pugi::parse_default, pugi::encoding_utf8);
        if (result && !document.first_child().next_sibling()) {
            reader.read(document.first_child());
            from = to;
            size = pieceSize;
        } else if (to == body.size()) {
            return false;
        } else {
            size *= 2;
        }
    }
    return true;
}

} // namespace kes::reference
