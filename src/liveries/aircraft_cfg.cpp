#include "liveries/aircraft_cfg.h"

#include "core/text.h"
#include "platform/system.h"

namespace kes {
namespace {

bool startsNoCase(std::string_view text, std::string_view start) {
    return text.size() >= start.size() && equalsNoCase(text.substr(0, start.size()), start);
}

/// The line up to a comment: ';' or "//" outside double quotes.
std::string_view withoutComment(std::string_view line) {
    bool quoted = false;
    for (std::size_t i = 0; i < line.size(); ++i) {
        if (line[i] == '"') {
            quoted = !quoted;
        } else if (!quoted && (line[i] == ';' || line.substr(i, 2) == "//")) {
            return line.substr(0, i);
        }
    }
    return line;
}

/// A value in double quotes is the text between them; one without is taken whole.
std::string_view unquoted(std::string_view value) {
    const std::size_t open = value.find('"');
    if (open == std::string_view::npos) {
        return value;
    }
    const std::size_t close = value.find('"', open + 1);
    return close == std::string_view::npos ? std::string_view() : value.substr(open + 1, close - open - 1);
}

bool isFltsimHeader(std::string_view line) {
    constexpr std::string_view start = "[fltsim.";
    if (!startsNoCase(line, start)) {
        return false;
    }
    const std::size_t end = line.find(']');
    return end != std::string_view::npos && end > start.size() &&
           line.substr(start.size(), end - start.size()).find_first_not_of("0123456789") == std::string_view::npos;
}

void setOnce(std::string& target, std::string_view value) {
    if (target.empty()) {
        target = strip(value);
    }
}

} // namespace

std::string decodeCfg(std::string_view bytes) {
    if (bytes.substr(0, 3) == "\xEF\xBB\xBF") {
        return std::string(bytes.substr(3));
    }
    const bool little = bytes.substr(0, 2) == "\xFF\xFE";
    if (!little && bytes.substr(0, 2) != "\xFE\xFF") {
        return std::string(bytes);
    }
    std::u16string units;
    units.reserve(bytes.size() / 2);
    for (std::size_t i = 2; i + 1 < bytes.size(); i += 2) {
        const auto first = static_cast<unsigned char>(bytes[i]), second = static_cast<unsigned char>(bytes[i + 1]);
        units.push_back(static_cast<char16_t>(little ? first | second << 8 : second | first << 8));
    }
    return platform::toUtf8(units);
}

AircraftCfg parseAircraftCfg(std::string_view text) {
    AircraftCfg cfg;
    CfgSection* section = nullptr;
    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        const std::string_view whole = text.substr(0, end);
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
        const std::string_view line = strip(withoutComment(whole));
        if (line.empty()) {
            continue;
        }
        if (line.front() == '[') {
            section = isFltsimHeader(line) ? &cfg.sections.emplace_back() : nullptr;
            continue;
        }
        const std::size_t equals = line.find('=');
        if (equals == std::string_view::npos) {
            continue;
        }
        const std::string_view key = strip(line.substr(0, equals));
        std::string_view value = unquoted(strip(line.substr(equals + 1)));
        value = value.substr(0, value.find('\0')); // XML cannot hold a NUL
        if (equalsNoCase(key, "icao_type_designator")) {
            setOnce(cfg.typeDesignator, value);
        } else if (section == nullptr) {
            continue;
        } else if (equalsNoCase(key, "title")) {
            setOnce(section->title, value);
        } else if (equalsNoCase(key, "icao_airline")) {
            section->hasAirline = true;
            setOnce(section->airline, value);
        } else if (equalsNoCase(key, "atc_id")) {
            setOnce(section->atcId, value);
        } else if (equalsNoCase(key, "atc_parking_types")) {
            setOnce(section->parkingTypes, value);
        }
    }
    return cfg;
}

} // namespace kes
