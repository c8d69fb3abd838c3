// SPDX-License-Identifier: MIT
#include "traffic/title_table.h"

#include <unordered_map>

namespace kes {

namespace {

// Looked up by hexid only and never walked, so its order shows nowhere.
std::unordered_map<std::uint32_t, std::string_view> titleTable;

} // namespace

std::string_view rememberedTitle(std::uint32_t hexid) {
    const auto it = titleTable.find(hexid);
    return it == titleTable.end() ? std::string_view() : it->second;
}

void rememberTitle(std::uint32_t hexid, std::string_view title) {
    titleTable[hexid] = title;
}

void forgetTitle(std::uint32_t hexid) {
    titleTable.erase(hexid);
}

void clearTitleTable() {
    titleTable.clear();
}

} // namespace kes
