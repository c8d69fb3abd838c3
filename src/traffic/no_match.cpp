// SPDX-License-Identifier: MIT
#include "traffic/no_match.h"

#include "core/log.h"
#include "core/parameters.h"

#include <utility>

namespace kes {

NoMatchList noMatchList;

void NoMatchList::add(std::string key) {
    if (index_.contains(key))
        return;
    if (keys_.size() == limit) {
        index_.erase(keys_.front());
        keys_.pop_front();
    }
    index_.insert(keys_.emplace_back(std::move(key)));
}

void NoMatchList::clear() {
    index_.clear();
    keys_.clear();
}

void writeNoMatchReport() {
    if (!par::LOG || noMatchList.keys().empty())
        return;
    log("\nNo match found for: ");
    for (const std::string& key : noMatchList.keys())
        log(key);
    log("");
}

} // namespace kes
