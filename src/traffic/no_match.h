// SPDX-License-Identifier: MIT
// Keys of aircraft for which no installed livery fits: they are not searched again until the user clears the list.
// Worker only.
#pragma once

#include <deque>
#include <string>
#include <string_view>
#include <unordered_set>

namespace kes {

/// Keys without livery, in order of finding. The oldest makes room when there are too many.
class NoMatchList {
public:
    static constexpr std::size_t limit = 1000;
    void add(std::string key); ///< once each
    bool contains(std::string_view key) const { return index_.contains(key); }
    void clear();
    const std::deque<std::string>& keys() const { return keys_; }

private:
    std::deque<std::string> keys_; // never moves its elements, so the index can point at them
    std::unordered_set<std::string_view> index_;
};
extern NoMatchList noMatchList;
/// The list into the log, when LOG is on.
void writeNoMatchReport();

} // namespace kes
