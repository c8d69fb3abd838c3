// SPDX-License-Identifier: MIT
// The document of the update server: any bytes must end in tables or a told failure, and reading it in pieces (here of
// a single element) must not be told apart from reading it as a whole. The first byte chooses whether the rest stands
// alone or as the registrations of a good document, which random bytes would hardly ever reach.
#include "reference/reference_document.h"

#include "fuzz/fuzz.h"
#include "reference/reference.h"
#include "reference/reference_tables.h"

#include <exception>
#include <string>

namespace {

/// Everything that a reading left behind.
std::string outcome(const std::string& text, kes::reference::ParseAs parseAs) {
    using kes::reference::tables;
    kes::resetReference();
    std::string all;
    try {
        kes::reference::readDocumentText(text, "document.xml", parseAs, 1);
    } catch (const std::exception& e) {
        all = e.what();
    }
    for (std::uint32_t i = 0; i < tables.dbaseRecords.size(); ++i) {
        const kes::reference::PackedRecord& record = tables.dbaseRecords.record(i);
        all += tables.dbaseRecords.key(i);
        all.append(record.airl.begin(), record.airl.end()).append(record.type.begin(), record.type.end());
        all.append(record.opr.begin(), record.opr.end()) += record.cargo ? '1' : '0';
    }
    for (const auto& codes : {tables.data.aircraftTypes, tables.data.largeTypes, tables.data.icaoAirlines})
        for (const std::string& code : codes)
            all += code + ",";
    try {
        all += kes::publisherOf(text.substr(0, 60));
    } catch (const std::exception& e) {
        all += e.what();
    }
    return all.append(kes::regcodeInTitle(text));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0)
        return 0;
    std::string text(kes::fuzz::textOf(data + 1, size - 1));
    if (data[0] % 2 == 1) {
        std::string good;
        for (const char* child : {"aircrafts><aircraft", "high_performance><hpf", "heavy><hvy", "large><lar",
                                  "buzjet><bzj", "rotorcraft><rot", "cargo_types><cargo_type"}) {
            const std::string name(child);
            good += "<" + name + " types='AB,CDE'/></" + name.substr(0, name.find('>')) + ">";
        }
        good +=
            "<ICAO_airlines><ICAO codes='ABC'/></ICAO_airlines><cargo_operators><ICAO codes='ABC'/></cargo_operators>"
            "<simaddons20><simaddon20 arpts='EHAM'/></simaddons20>";
        text = good + "<dbase>" + text + "</dbase>";
    }
    using kes::reference::ParseAs;
    kes::fuzz::require(outcome(text, ParseAs::pieces) == outcome(text, ParseAs::whole));
    return 0;
}
