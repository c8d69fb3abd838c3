// SPDX-License-Identifier: MIT
#include "reference/reference.h"

#include "reference/reference_tables.h"
#include "reference/regcode_forms.h"

#include <algorithm>
#include <cstdint>

namespace kes {

using reference::tables;

const ReferenceData& referenceData() {
    return tables.data;
}

void resetReference() {
    tables = {};
}

bool modelExists(std::string_view code) {
    if (const auto known = reference::typeIsKnown(code))
        return *known;
    return !code.empty() && tables.data.aircraftTypes.contains(code);
}

bool airlineExists(std::string_view code) {
    const auto bit = reference::airlineBit(code);
    return bit ? tables.airlineBits[*bit] : tables.data.icaoAirlines.contains(code);
}

AircraftCategory categoryOf(std::string_view code) {
    return reference::categoryIn(tables.data, code);
}

double wingspanOf(std::string_view code) {
    const auto known = tables.data.wingspanByType.find(code);
    if (known != tables.data.wingspanByType.end())
        return known->second;
    return tables.data.categoryAverageSpan[static_cast<std::size_t>(categoryOf(code))];
}

double maxWingspan() {
    return tables.maxWingspan;
}

std::optional<DbaseRecord> lookupRegcode(std::string_view regcode) {
    const reference::PackedRecord* const found =
        firstOfRegcodeForms(regcode, [](std::string_view form) { return tables.dbaseRecords.find(form); });
    if (!found)
        return {};
    const auto text = [](const auto& code) {
        return std::string(code.begin(), std::find(code.begin(), code.end(), '\0'));
    };
    return DbaseRecord{text(found->airl), text(found->type), text(found->opr), found->cargo};
}

std::vector<std::string> regcodeVariants(std::string_view regcode) {
    std::vector<std::string> forms;
    (void)firstOfRegcodeForms(regcode, [&](std::string_view form) -> const std::string* {
        forms.emplace_back(form);
        return nullptr;
    });
    return forms;
}

std::size_t dbaseSize() {
    return tables.dbaseRecords.size();
}

std::string_view regcodeInTitle(std::string_view title) {
    return tables.shortRegcodes.in(title, tables.dbaseRecords);
}

std::string_view publisherOf(std::string_view text) {
    const std::optional<std::size_t> group = tables.publishers.groupOf(text);
    return group ? std::string_view(tables.data.publisherGroups[*group].front()) : std::string_view("unknown");
}

} // namespace kes
