// SPDX-License-Identifier: MIT
#include "liveries/similar.h"

#include "core/log.h"
#include "core/text.h"
#include "reference/reference.h"

#include <algorithm>
#include <fmt/format.h>

namespace kes {

namespace {

/// "key,model,model" for each member of each group that has other members installed; sorted, each once.
std::vector<std::string> similarTexts() {
    std::vector<std::string> texts;
    for (const std::vector<std::string>& group : referenceData().similarGroups) {
        for (const std::string& member : group) {
            std::string text = member;
            for (const std::string& other : group) {
                if (other != member && hasModel(other))
                    text += "," + other;
            }
            if (text.find(',') != std::string::npos)
                texts.push_back(std::move(text));
        }
    }
    std::sort(texts.begin(), texts.end());
    texts.erase(std::unique(texts.begin(), texts.end()), texts.end());
    return texts;
}

} // namespace

void buildSimilarTables(LiveryTables& tables) {
    tables.similarInstalled.clear();
    tables.similarByAirline.clear();
    for (const std::string& text : similarTexts()) {
        const auto codes = split(text, ',');
        const auto [place, isNew] = tables.similarInstalled.try_emplace(std::string(codes.front()));
        if (isNew)
            place->second.assign(codes.begin() + 1, codes.end());
    }
    for (const auto& [airline, models] : tables.liveryStore) {
        for (const auto& [key, similar] : tables.similarInstalled) {
            if (models.contains(key))
                continue;
            std::vector<std::string> worn;
            for (const std::string& model : similar) {
                if (models.contains(model))
                    worn.push_back(model);
            }
            if (!worn.empty()) {
                worn.shrink_to_fit();
                tables.similarByAirline[airline.substr(0, 3)].emplace(key, std::move(worn));
            }
        }
    }
    log(fmt::format("{} similar model definitions", tables.similarInstalled.size()));
}

} // namespace kes
