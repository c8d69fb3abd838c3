// SPDX-License-Identifier: MIT
#include "liveries/package_finders.h"

#include "core/log.h"
#include "core/parallel_walk.h"
#include "core/parameters.h"
#include "platform/file.h"
#include "platform/system.h"

#include <algorithm>
#include <array>
#include <fmt/format.h>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

namespace kes {

namespace {

namespace fs = std::filesystem;

enum Family { aig, fsltl, jf, user };
constexpr std::array<std::string_view, 4> familyNames{"AIG", "FSLTL", "JF", "user-aitraffic"};

/// By AI_PACKAGE_ORDER from 1.
constexpr std::array<std::array<Family, 3>, 6> familyOrders{
    {{aig, fsltl, jf}, {aig, jf, fsltl}, {fsltl, aig, jf}, {fsltl, jf, aig}, {jf, aig, fsltl}, {jf, fsltl, aig}}};

/// What the path of a package holds, tried in this order for each entry.
std::vector<std::string_view> marks(Family family) {
    switch (family) {
    case aig:
        if (par::MSFS_2020)
            return {"aig-aitraffic-oci-beta", "aig-aitraffic-oci"};
        return {"aig-aitraffic-oci"};
    case fsltl:
        return {"fsltl-traffic-base"};
    case jf:
        return {"justflight-aircraft-traffic-fleet", "justflight-fstraffic-module"};
    case user:
        return {"user-aitraffic"};
    }
    return {};
}

std::optional<std::string> findFamily(Family family, const std::vector<std::string>& paths) {
    const auto wanted = marks(family);
    for (const std::string& path : paths) {
        // The simulator keeps converted copies of packages under such names.
        if (path.find("_CVT_") != std::string::npos)
            continue;
        for (const std::string_view mark : wanted) {
            if (path.find(mark) != std::string::npos) {
                log(fmt::format("Automatic {} scan found folder: \"{}\"", familyNames[family], path));
                return path;
            }
        }
    }
    return {};
}

} // namespace

std::vector<fs::path> findAiPackages(const fs::path& community) {
    platform::FolderList list;
    platform::Folder folder;
    int error = folder.open(platform::pathText(community));
    if (!error)
        error = folder.list(list);
    if (error)
        throw fs::filesystem_error("directory_iterator", community, std::error_code(error, std::generic_category()));
    std::vector<std::string_view> names;
    for (const platform::FolderList::Entry& entry : list.entries())
        names.push_back(list.name(entry));
    std::sort(names.begin(), names.end(), nameComesFirst);
    std::vector<std::string> paths;
    for (const std::string_view name : names)
        paths.push_back(platform::pathText(community / platform::pathFrom(name)));

    const std::int32_t order = std::clamp<std::int32_t>(par::AI_PACKAGE_ORDER, 1, familyOrders.size());
    std::vector<fs::path> found;
    for (const Family family : familyOrders[static_cast<std::size_t>(order - 1)]) {
        if (const auto path = findFamily(family, paths))
            found.push_back(platform::pathFrom(*path));
    }
    if (const auto path = findFamily(user, paths))
        found.push_back(platform::pathFrom(*path));
    return found;
}

} // namespace kes
