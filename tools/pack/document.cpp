// SPDX-License-Identifier: MIT
#include "tools/pack/document.h"

#include "reference/scramble.h"

#include <fmt/format.h>
#include <functional>
#include <iterator>
#include <stdexcept>

namespace kes::pack {
namespace {

constexpr std::size_t codesPerElement = 40;

using Codes = std::vector<std::string>;
using Encrypt = std::function<std::string(std::string_view)>;

std::string plain(std::string_view text) {
    return std::string(text);
}

void appendAttribute(std::string& text, std::string_view name, std::string_view value) {
    text.append(" ").append(name).append("=\"");
    appendEscaped(text, value);
    text += '"';
}

std::string joined(const Codes& codes, std::size_t begin, std::size_t end, const Encrypt& encrypt) {
    std::string list;
    for (std::size_t i = begin; i < end; ++i) {
        if (i > begin) {
            list += ',';
        }
        list += encrypt(codes[i]);
    }
    return list;
}

struct SetSection {
    const char *section, *child, *attribute;
    const char* source; ///< what fills it, for the user
};

/// The program refuses a document in which such a section is empty.
void appendSet(std::string& text, const SetSection& of, const Codes& codes, const Encrypt& encrypt) {
    if (codes.empty()) {
        throw std::runtime_error(fmt::format("{}, but the program refuses a data base whose section \"{}\" is empty",
                                             of.source, of.section));
    }
    text += fmt::format("<{}>\n", of.section);
    for (std::size_t begin = 0; begin < codes.size(); begin += codesPerElement) {
        const std::size_t end = std::min(begin + codesPerElement, codes.size());
        text.append("<").append(of.child);
        appendAttribute(text, of.attribute, joined(codes, begin, end, encrypt));
        text += "/>\n";
    }
    text += fmt::format("</{}>\n", of.section);
}

/// One element for each entry; `write` appends its attributes.
template <class List, class Write>
void appendList(std::string& text, const char* section, const char* child, const List& list, Write write) {
    text += fmt::format("<{}>\n", section);
    for (const auto& entry : list) {
        text.append("<").append(child);
        write(entry);
        text += "/>\n";
    }
    text += fmt::format("</{}>\n", section);
}

Codes typesOf(const Sources& sources, AircraftCategory category) {
    Codes codes;
    for (const TypeRow& row : sources.types) {
        if (row.category == category) {
            codes.push_back(row.code);
        }
    }
    return codes;
}

void appendTypes(std::string& text, const Sources& sources) {
    Codes all;
    for (const TypeRow& row : sources.types) {
        all.push_back(row.code);
    }
    appendSet(text, {"aircrafts", "aircraft", "types", "types.csv has no good row"}, all, encryptModel);
    using enum AircraftCategory;
    const std::pair<SetSection, AircraftCategory> sections[] = {
        {{"high_performance", "hpf", "types", "types.csv has no type of category HighPerf"}, highPerf},
        {{"heavy", "hvy", "types", "types.csv has no type of category Heavy"}, heavy},
        {{"large", "lar", "types", "types.csv has no type of category Large"}, large},
        {{"buzjet", "bzj", "types", "types.csv has no type of category Buzjets"}, buzjets},
        {{"rotorcraft", "rot", "types", "types.csv has no type of category Rotorcraft"}, rotorcraft},
    };
    for (const auto& [section, category] : sections) {
        appendSet(text, section, typesOf(sources, category), encryptModel);
    }
    appendSet(text, {"cargo_types", "cargo_type", "types", "cargo_types.csv has no good row"}, sources.cargoTypes,
              encryptModel);
}

void appendThirdParties(std::string& text, const char* section, const char* child,
                        const std::vector<ThirdParty>& entries) {
    appendList(text, section, child, entries, [&](const ThirdParty& entry) {
        appendAttribute(text, "pub", entry.pub);
        appendAttribute(text, "arpts", joined(entry.arpts, 0, entry.arpts.size(), plain));
    });
}

void appendAirframes(std::string& text, const std::vector<Airframe>& airframes) {
    constexpr std::size_t bytesPerElement = 72;
    text.reserve(text.size() + airframes.size() * bytesPerElement);
    appendList(text, "dbase", "db", airframes, [&](const Airframe& airframe) {
        appendAttribute(text, "reg", encryptRegcode(airframe.reg));
        if (!airframe.airl.empty()) {
            appendAttribute(text, "airl", encryptAirline(airframe.airl));
        }
        if (!airframe.type.empty()) {
            appendAttribute(text, "type", encryptModel(airframe.type));
        }
        if (!airframe.opr.empty()) {
            appendAttribute(text, "opr", encryptAirline(airframe.opr));
        }
        if (airframe.cargo) {
            text += " cargo=\"1\"";
        }
    });
}

} // namespace

void appendEscaped(std::string& text, std::string_view value) {
    for (const char c : value) {
        switch (c) {
        case '&':
            text += "&amp;";
            break;
        case '<':
            text += "&lt;";
            break;
        case '>':
            text += "&gt;";
            break;
        case '"':
            text += "&quot;";
            break;
        case '\0':
            break;
        default:
            if (static_cast<unsigned char>(c) < ' ') {
                fmt::format_to(std::back_inserter(text), "&#{};", static_cast<int>(c));
            } else {
                text += c;
            }
        }
    }
}

std::string referenceDocument(const Sources& sources) {
    std::string text;
    appendTypes(text, sources);
    appendList(text, "similar_types", "similar", sources.similar, [&](const Sources::Similar& group) {
        appendAttribute(text, "types", joined(group.types, 0, group.types.size(), encryptModel));
    });
    appendSet(text, {"ICAO_airlines", "ICAO", "codes", "airlines.csv has no good row"}, sources.airlines,
              encryptAirline);
    appendSet(text, {"cargo_operators", "ICAO", "codes", "cargo_operators.csv has no good row"}, sources.cargoOperators,
              encryptAirline);
    appendList(text, "publishers", "pub", sources.publishers,
               [&](const Codes& names) { appendAttribute(text, "names", joined(names, 0, names.size(), plain)); });
    text += "<wingspans>\n";
    for (const TypeRow& row : sources.types) {
        if (!row.metres.empty()) {
            text += "<wingspan";
            appendAttribute(text, "type", encryptModel(row.code));
            appendAttribute(text, "meters", row.metres);
            text += "/>\n";
        }
    }
    text += "</wingspans>\n";
    appendList(text, "fixes", "fx", sources.fixes, [&](const std::pair<std::string, std::string>& fix) {
        appendAttribute(text, "wro", fix.first);
        appendAttribute(text, "cor", fix.second);
    });
    appendSet(text, {"simaddons20", "simaddon20", "arpts", "simaddons20.csv has no good row"}, sources.simaddons20,
              plain);
    appendThirdParties(text, "thirdparties20", "thirdpartie20", sources.thirdParties20);
    appendThirdParties(text, "thirdparties24", "thirdpartie24", sources.thirdParties24);
    appendAirframes(text, sources.airframes);
    return text;
}

std::string regcodeDocument(const Sources& sources) {
    std::string text;
    appendList(text, "AIG-regcodes", "livery", sources.regcodes, [&](const RegcodeRow& row) {
        appendAttribute(text, "title", row.title);
        if (!row.regs.empty()) {
            appendAttribute(text, "reg", joined(row.regs, 0, row.regs.size(), encryptRegcode));
        }
        if (row.special) {
            text += " special=\"true\"";
        }
    });
    return text;
}

std::string airportTable(const std::vector<AirportRow>& airports) {
    std::string text = "<?xml version=\"1.0\"?>\n";
    appendList(text, "airports", "airport", airports, [&](const AirportRow& row) {
        appendAttribute(text, "code", row.code);
        appendAttribute(text, "alt", row.alt);
        appendAttribute(text, "lat", row.lat);
        appendAttribute(text, "lon", row.lon);
        appendAttribute(text, "iata", row.iata);
    });
    return text;
}

std::string airportNames(const std::vector<AirportRow>& airports) {
    std::string text = "<?xml version=\"1.0\"?>\n";
    appendList(text, "AirportNames", "airport", airports, [&](const AirportRow& row) {
        appendAttribute(text, "ICAO", row.code);
        appendAttribute(text, "name", row.name);
    });
    return text;
}

} // namespace kes::pack
