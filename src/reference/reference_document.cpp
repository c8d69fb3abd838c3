// SPDX-License-Identifier: MIT
#include "reference/reference_document.h"

#include "core/errors.h"
#include "core/folders.h"
#include "core/log.h"
#include "core/text.h"
#include "core/units.h"
#include "platform/file.h"
#include "platform/system.h"
#include "reference/reference.h"
#include "reference/reference_tables.h"
#include "reference/scramble.h"
#include "update/packages.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <fmt/format.h>
#include <functional>
#include <optional>
#include <pugixml.hpp>
#include <set>
#include <stdexcept>

namespace kes {

namespace {

using reference::Tables;

/// Bytes; a tree takes many times as much memory. All aircraft of the world need a third of it.
constexpr std::uint64_t longestDocument = 256 << 20;
constexpr double milesPerMetre = 1.0 / metresPerNm;

using Decode = std::function<std::string(std::string_view)>;

std::string plain(std::string_view text) {
    return std::string(text);
}

std::vector<std::string_view> pieces(const pugi::xml_node& node, const char* attribute) {
    std::vector<std::string_view> list = split(node.attribute(attribute).value(), ',');
    for (std::string_view& piece : list)
        piece = strip(piece);
    return list;
}

void readSet(const pugi::xml_document& document, const char* section, const char* child, const char* attribute,
             const Decode& decode, CodeSet& target) {
    std::set<std::string_view> stored;
    for (const pugi::xml_node node : document.child(section).children(child)) {
        for (const std::string_view piece : pieces(node, attribute))
            stored.insert(piece);
    }
    for (const std::string_view piece : stored)
        target.insert(decode(piece));
    if (target.empty()) {
        throw nwk::UserErrorException(
            61, fmt::format("In an xml file section {} {} {} is empty ", section, child, attribute));
    }
}

void readSimilar(const pugi::xml_document& document, Tables& tables) {
    auto& groups = tables.data.similarGroups;
    groups.reserve(64);
    for (const pugi::xml_node node : document.child("similar_types").children("similar")) {
        std::vector<std::string>& group = groups.emplace_back();
        for (const std::string_view piece : pieces(node, "types"))
            group.push_back(decryptModel(piece));
        std::sort(group.begin(), group.end());
    }
}

void readPublishers(const pugi::xml_document& document, Tables& tables) {
    std::vector<std::string_view> values;
    for (const pugi::xml_node node : document.child("publishers").children("pub"))
        values.emplace_back(node.attribute("names").value());
    std::sort(values.begin(), values.end());
    values.erase(std::unique(values.begin(), values.end()), values.end());
    auto& groups = tables.data.publisherGroups;
    groups.reserve(640);
    for (const std::string_view value : values) {
        std::vector<std::string>& group = groups.emplace_back();
        for (const std::string_view name : split(value, ','))
            group.emplace_back(strip(name));
    }
}

/// A decimal number above 0. With a dot in every language, so not the library's conversion, which follows the user's.
std::optional<double> lengthIn(std::string_view text) {
    text = strip(text);
    if (text.starts_with('+'))
        text.remove_prefix(1);
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || !std::isfinite(value) || value <= 0)
        return {};
    return value;
}

void readWingspans(const pugi::xml_document& document, Tables& tables) {
    ReferenceData& data = tables.data;
    for (const pugi::xml_node node : document.child("wingspans").children("wingspan")) {
        const std::string type = decryptModel(node.attribute("type").value());
        if (type.empty() || !data.aircraftTypes.contains(type)) {
            log(fmt::format("wingspan model {} is no valid model, skipped", type));
            continue;
        }
        const std::optional<double> metres = lengthIn(node.attribute("meters").value());
        if (!metres) {
            log(fmt::format("wingspan \"{}\" of model {} is no length, skipped", node.attribute("meters").value(),
                            type));
            continue;
        }
        data.wingspanByType.emplace(type, *metres * 0.5 * milesPerMetre);
    }
    if (data.wingspanByType.empty())
        return;
    std::array<double, 6> sum{};
    std::array<std::size_t, 6> count{};
    double all = 0;
    for (const auto& [type, half] : data.wingspanByType) {
        const auto category = static_cast<std::size_t>(reference::categoryIn(data, type));
        sum[category] += half;
        ++count[category];
        all += half;
    }
    for (std::size_t i = 0; i < sum.size(); ++i) {
        data.categoryAverageSpan[i] = count[i] > 0 ? sum[i] / static_cast<double>(count[i])
                                                   : all / static_cast<double>(data.wingspanByType.size());
    }
}

void readFixes(const pugi::xml_document& document, Tables& tables) {
    for (const pugi::xml_node node : document.child("fixes").children("fx")) {
        const char* const wrong = node.attribute("wro").value();
        const char* const correct = node.attribute("cor").value();
        if (!*correct || !tables.data.aircraftTypes.contains(std::string_view(correct)))
            log(fmt::format("wrong fix {}->{}, the latter is not a valid model", wrong, correct));
        else if (!tables.data.modelFixes.emplace(wrong, correct).second)
            log(fmt::format("wrong part of fix: \"{}\", already exists, skipped", wrong));
    }
}

void readThirdParties(const pugi::xml_document& document, const char* section, const char* child, std::size_t room,
                      std::vector<ThirdPartyEntry>& target) {
    target.reserve(room);
    for (const pugi::xml_node node : document.child(section).children(child)) {
        ThirdPartyEntry& entry = target.emplace_back();
        entry.pub = node.attribute("pub").value();
        for (const std::string_view airport : pieces(node, "arpts"))
            entry.arpts.emplace_back(airport);
    }
}

/// Runs one step of the reading; its failure names the step.
template <class Read> void readNamed(const char* what, const std::string& path, Read&& read) {
    try {
        read();
    } catch (const std::exception& e) {
        throw std::runtime_error(fmt::format("exception {} in reading {} from \"{}\"", e.what(), what, path));
    }
}

void readSections(const pugi::xml_document& document, const std::string& path, Tables& tables) {
    ReferenceData& data = tables.data;
    readSet(document, "aircrafts", "aircraft", "types", decryptModel, data.aircraftTypes);
    readSet(document, "high_performance", "hpf", "types", decryptModel, data.highPerfTypes);
    readSet(document, "heavy", "hvy", "types", decryptModel, data.heavyTypes);
    readSet(document, "large", "lar", "types", decryptModel, data.largeTypes);
    readSet(document, "buzjet", "bzj", "types", decryptModel, data.buzjetTypes);
    readSet(document, "rotorcraft", "rot", "types", decryptModel, data.rotorTypes);
    readSet(document, "cargo_types", "cargo_type", "types", decryptModel, data.cargoTypes);
    readSimilar(document, tables);
    readSet(document, "ICAO_airlines", "ICAO", "codes", decryptAirline, data.icaoAirlines);
    readSet(document, "cargo_operators", "ICAO", "codes", decryptAirline, data.cargoOperators);
    readNamed("publishers", path, [&] { readPublishers(document, tables); });
    readNamed("wingspans", path, [&] { readWingspans(document, tables); });
    readFixes(document, tables);
    readSet(document, "simaddons20", "simaddon20", "arpts", plain, data.simaddonAirports20);
    readThirdParties(document, "thirdparties20", "thirdpartie20", 600, data.thirdParties20);
    readThirdParties(document, "thirdparties24", "thirdpartie24", 300, data.thirdParties24);
}

[[noreturn]] void throwUnreadable(const std::filesystem::path& file, const char* reason) {
    throw nwk::UserErrorException(
        60, fmt::format("\"{}\" not read because of {}", platform::pathText(file.filename()), reason));
}

} // namespace

namespace reference {

void readDocumentText(std::string text, const std::filesystem::path& path, ParseAs parseAs, std::size_t pieceSize) {
    const auto section = parseAs == ParseAs::pieces ? findAirframeSection(text) : std::nullopt;
    std::string parsed = section ? section->rest : text;
    pugi::xml_document document;
    pugi::xml_parse_result result = document.load_buffer_inplace(parsed.data(), parsed.size());
    std::optional<AirframeReader> airframes(std::in_place);
    if (!section) {
        airframes->read(document.child("dbase"));
    } else if (!section->foundIn(document, result) || !readInPieces(section->body, pieceSize, *airframes)) {
        // Whether the document is good, and what is wrong with it, shows when it is parsed as a whole.
        airframes.emplace();
        parsed = std::move(text);
        result = document.load_buffer_inplace(parsed.data(), parsed.size());
        airframes->read(document.child("dbase"));
    }
    if (!result)
        throwUnreadable(path, result.description());
    // What is read stands aside until all of it is: a failure leaves the tables as they were.
    Tables fresh;
    readSections(document, platform::pathText(path), fresh);
    fresh.dbaseRecords = airframes->finish();
    derive(fresh);
    tables = std::move(fresh);
}

} // namespace reference

void readReferenceDocument(const std::filesystem::path& file) {
    std::string text;
    if (const int error = platform::readFile(platform::pathText(file), text, longestDocument)) {
        // In the words of the library that reads what can be opened.
        pugi::xml_parse_result result;
        result.status = error == ENOENT ? pugi::status_file_not_found : pugi::status_io_error;
        throwUnreadable(file, result.description());
    }
    reference::readDocumentText(std::move(text), file);
}

bool readDataBase() {
    struct Document {
        ~Document() {
            std::error_code ignored;
            std::filesystem::remove(path::referenceDocument, ignored);
        }
    } const gone;
    if (!fetchZipAsText("dbase.zip", path::referenceDocument))
        throw std::runtime_error("data base could not be read from on-line?");
    readReferenceDocument(path::referenceDocument);
    return true;
}

} // namespace kes
