// SPDX-License-Identifier: MIT
#include "liveries/livery.h"

#include "core/errors.h"
#include "core/folders.h"
#include "core/log.h"
#include "core/xml_file.h"
#include "platform/system.h"

#include <algorithm>
#include <fmt/format.h>
#include <iterator>
#include <tuple>

namespace kes {

void sortLiveries(std::vector<Livery>& liveries) {
    std::stable_sort(liveries.begin(), liveries.end(), [](const Livery& a, const Livery& b) {
        return std::tie(a.airline, a.model, a.title) < std::tie(b.airline, b.model, b.title);
    });
}

bool writeLiveriesScanned(const std::vector<Livery>& liveries) {
    pugi::xml_document document;
    pugi::xml_node top = document.append_child("liveries");
    appendMeta(top);
    for (const Livery& livery : liveries) {
        pugi::xml_node node = top.append_child("liv");
        node.append_attribute("airl") = livery.airline.c_str();
        node.append_attribute("type") = livery.model.c_str();
        if (livery.cargo) {
            node.append_attribute("cargo") = "true";
        }
        node.append_attribute("title") = livery.title.c_str();
        if (!livery.regcode.empty()) {
            node.append_attribute("atcid") = livery.regcode.c_str();
        }
    }
    const bool saved = saveXml(document, path::liveriesScanned);
    if (saved) {
        log(fmt::format("{} liveries in {}", liveries.size(), platform::pathText(path::liveriesScanned)));
    }
    return saved;
}

std::vector<Livery> readLiveriesScanned() {
    const std::string pathText = platform::pathText(path::liveriesScanned);
    pugi::xml_document document;
    const pugi::xml_parse_result result = loadXml(document, path::liveriesScanned);
    if (result.status == pugi::status_file_not_found || result.status == pugi::status_io_error) {
        throw nwk::UserErrorException(51, fmt::format("File {} not found", pathText));
    }
    if (!result) {
        log(fmt::format("{}: {} at byte {}", pathText, result.description(), result.offset));
    }
    // The part that could be read of a damaged file is no list.
    const pugi::xml_node top = result ? document.child("liveries") : pugi::xml_node();
    if (!top) {
        throw nwk::UserErrorException(52, fmt::format("{} does not contain a <liveries> section", pathText));
    }
    if (!metaIsGood(top)) {
        throw nwk::UserErrorException(99, "meta data incorrect?");
    }
    std::vector<Livery> liveries;
    const auto all = top.children("liv");
    liveries.reserve(static_cast<std::size_t>(std::distance(all.begin(), all.end())));
    for (const pugi::xml_node node : all) {
        Livery livery;
        livery.airline = node.attribute("airl").as_string();
        livery.model = node.attribute("type").as_string();
        livery.cargo = node.attribute("cargo").as_bool();
        livery.title = node.attribute("title").as_string();
        livery.regcode = node.attribute("atcid").as_string();
        liveries.push_back(std::move(livery));
    }
    if (liveries.empty())
        throw nwk::UserErrorException(533, pathText + " does not contain liveries");
    sortLiveries(liveries);
    log(fmt::format("{} liveries read from {}", liveries.size(), pathText));
    return liveries;
}

} // namespace kes
