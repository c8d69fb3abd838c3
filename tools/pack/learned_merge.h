// SPDX-License-Identifier: MIT
// Learned files that an operator has collected from users, for the airport files of the server.
#pragma once

#include "airports/stands.h"
#include "tools/pack/pack.h"

#include <cstddef>
#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace kes::pack {

/// The learned files of a tree, sorted by the airport file that they add to.
class LearnedFiles {
public:
    LearnedFiles() = default;
    /// Finds every `CODE.xml` below a folder. One that cannot be used is a bad row of `count`: damaged, without a
    /// publisher, of an unknown one, or handmade, since it would put one user's list in the place of everybody's.
    /// Throws std::runtime_error when there is no such folder.
    LearnedFiles(const std::filesystem::path& folder, PackCount& count);

    /// The airport files that there is something for, below the server's folder: "MSFS/archive/stock/EGLL.xml".
    std::set<std::string> targets() const;

    /// Puts all that was learned of an airport file on top of its list, by the rules of the program: an option whose
    /// like is there is not added again, and of two corrections the later one in the order of the paths holds. Stands
    /// made by hand are stands of the list from then on. What has no place in the list is told as a bad row. Returns
    /// the number of options added.
    std::size_t mergeInto(const std::string& target, std::vector<Stand>& list, PackCount& count) const;

private:
    std::map<std::string, std::vector<std::filesystem::path>> byTarget_;
};

} // namespace kes::pack
