// SPDX-License-Identifier: MIT
// A reference document by hand: what a test names, and one filler for each section that must not be empty.
#pragma once

#include "reference/reference.h"
#include "reference/reference_document.h"
#include "reference/scramble.h"

#include <fmt/format.h>
#include <fstream>
#include <map>
#include <string>
#include <vector>

namespace kes::test {

inline std::string escaped(std::string_view text) {
    std::string out;
    for (const char c : text)
        out += c == '<' ? "&lt;" : c == '>' ? "&gt;" : c == '&' ? "&amp;" : c == '"' ? "&quot;" : std::string(1, c);
    return out;
}

/// Codes in the stored form, with commas between.
template <typename Codes, typename Encrypt> std::string listOf(const Codes& codes, Encrypt encrypt) {
    std::string list;
    for (const auto& code : codes)
        list += (list.empty() ? "" : ",") + escaped(encrypt(code));
    return list;
}

/// All sets of codes: types, heavy, large, business jets, high performance, rotorcraft, cargo types, airlines, cargo
/// operators, airports, with bars between.
inline std::string setsText() {
    const ReferenceData& d = referenceData();
    std::string all;
    for (const CodeSet* set : {&d.aircraftTypes, &d.heavyTypes, &d.largeTypes, &d.buzjetTypes, &d.highPerfTypes,
                               &d.rotorTypes, &d.cargoTypes, &d.icaoAirlines, &d.cargoOperators, &d.simaddonAirports20})
        all += fmt::format("{}{}", all.empty() ? "" : "|", fmt::join(*set, ","));
    return all;
}

/// "publisher:airports;" of each entry, a bar between those of the two simulators.
inline std::string thirdPartiesText() {
    std::string all;
    for (const auto* list : {&referenceData().thirdParties20, &referenceData().thirdParties24}) {
        all += all.empty() ? "" : "|";
        for (const ThirdPartyEntry& entry : *list)
            all += fmt::format("{}:{};", entry.pub, fmt::join(entry.arpts, ","));
    }
    return all;
}

/// "airline/type/operator", with "/cargo" behind it, or "unknown".
inline std::string recordText(std::string_view regcode) {
    const auto r = lookupRegcode(regcode);
    return r ? fmt::format("{}/{}/{}{}", r->airl, r->type, r->opr, r->cargo ? "/cargo" : "") : "unknown";
}

struct ReferenceText {
    /// Category to type codes; every code is a type.
    std::map<AircraftCategory, std::vector<std::string>> types;
    std::vector<std::string> otherTypes, airlines{"ZZZ"};
    std::vector<std::vector<std::string>> similar;
    std::map<std::string, std::string> fixes; ///< wrong to correct
    struct Airframe {
        std::string reg, airl, type, opr;
        bool cargo = false;
    };
    std::vector<Airframe> airframes;
    std::map<std::string, double> metres; ///< full spans
    std::vector<std::string> simaddons{"EHAM"};
    std::vector<std::vector<std::string>> publishers;
    std::map<std::string, std::string> thirdParties20, thirdParties24; ///< publisher to list of airports

    std::string xml() const {
        std::string all;
        std::vector<std::string> every = otherTypes;
        for (const auto& [category, codes] : types)
            every.insert(every.end(), codes.begin(), codes.end());
        const auto section = [&](const char* name, const char* child, const char* attribute,
                                 std::vector<std::string> codes, const char* filler, auto encrypt) {
            if (codes.empty())
                codes.push_back(filler);
            all += fmt::format("<{0}><{1} {2}=\"{3}\"/></{0}>\n", name, child, attribute, listOf(codes, encrypt));
        };
        const auto of = [&](AircraftCategory category) {
            const auto found = types.find(category);
            return found == types.end() ? std::vector<std::string>() : found->second;
        };
        section("aircrafts", "aircraft", "types", every, "A1", encryptModel);
        section("high_performance", "hpf", "types", of(AircraftCategory::highPerf), "--", encryptModel);
        section("heavy", "hvy", "types", of(AircraftCategory::heavy), "--", encryptModel);
        section("large", "lar", "types", of(AircraftCategory::large), "--", encryptModel);
        section("buzjet", "bzj", "types", of(AircraftCategory::buzjets), "--", encryptModel);
        section("rotorcraft", "rot", "types", of(AircraftCategory::rotorcraft), "--", encryptModel);
        section("cargo_types", "cargo_type", "types", {}, "--", encryptModel);
        all += "<similar_types>";
        for (const auto& group : similar)
            all += fmt::format("<similar types=\"{}\"/>", listOf(group, encryptModel));
        all += "</similar_types>\n";
        section("ICAO_airlines", "ICAO", "codes", airlines, "ZZZ", encryptAirline);
        section("cargo_operators", "ICAO", "codes", {}, "---", encryptAirline);
        all += "<fixes>";
        for (const auto& [wrong, correct] : fixes)
            all += fmt::format("<fx wro=\"{}\" cor=\"{}\"/>", wrong, correct);
        all += "</fixes>\n<wingspans>";
        for (const auto& [type, span] : metres)
            all += fmt::format("<wingspan type=\"{}\" meters=\"{}\"/>", escaped(encryptModel(type)), span);
        all += "</wingspans>\n<publishers>";
        const auto plain = [](const std::string& text) { return text; };
        for (const auto& group : publishers)
            all += fmt::format("<pub names=\"{}\"/>", listOf(group, plain));
        all += "</publishers>\n";
        section("simaddons20", "simaddon20", "arpts", simaddons, "EHAM", plain);
        for (const auto& [year, list] : {std::pair(20, &thirdParties20), std::pair(24, &thirdParties24)}) {
            all += fmt::format("<thirdparties{}>", year);
            for (const auto& [publisher, airports] : *list)
                all += fmt::format("<thirdpartie{} pub=\"{}\" arpts=\"{}\"/>", year, escaped(publisher), airports);
            all += fmt::format("</thirdparties{}>\n", year);
        }
        all += "<dbase>";
        for (const Airframe& a : airframes) {
            all += fmt::format("<db reg=\"{}\" airl=\"{}\" type=\"{}\" opr=\"{}\" cargo=\"{}\"/>\n",
                               escaped(encryptRegcode(a.reg)), escaped(encryptAirline(a.airl)),
                               escaped(encryptModel(a.type)), escaped(encryptAirline(a.opr)), a.cargo ? "1" : "0");
        }
        return all + "</dbase>\n";
    }
    /// Fills the tables of the process.
    void read() const {
        std::ofstream("reference.xml", std::ios::binary) << xml();
        readReferenceDocument("reference.xml");
    }
};

} // namespace kes::test
