// SPDX-License-Identifier: MIT
#include "tools/pack/learned_merge.h"

#include "airports/airport_xml.h"
#include "airports/learned_file.h"
#include "core/text.h"
#include "core/xml_file.h"
#include "platform/system.h"
#include "tools/pack/apt.h"

#include <algorithm>
#include <fmt/format.h>
#include <pugixml.hpp>
#include <stdexcept>
#include <system_error>

namespace kes::pack {
namespace {

namespace fs = std::filesystem;

void refuse(PackCount& count, const fs::path& file, std::string reason) {
    count.bad.push_back({platform::pathText(file), 1, std::move(reason)});
}

/// The name becomes a folder, as it stands in the links that the program follows.
bool isFolderName(std::string_view publisher) {
    return !publisher.empty() && publisher.find_first_of("/\\:*?\"<>|") == std::string_view::npos &&
           publisher.find_first_not_of(". ") != std::string_view::npos;
}

/// The airport file that a learned one adds to.
std::string targetOf(const pugi::xml_document& document, std::string_view code, std::string_view publisher) {
    // What comes with the simulator and the stock files serve both simulators.
    const std::string_view simulator =
        document.child("meta").find_child_by_attribute("info", "name", "MSFS").attribute("value").value();
    if (publisher == "stock" || publisher == "simaddon") {
        return fmt::format("MSFS/archive/{}/{}.xml", publisher, code);
    }
    return fmt::format("{}/archive/thirdparty/{}/{}.xml", simulator.ends_with("2024") ? "MSFS2024" : "MSFS", publisher,
                       code);
}

std::size_t optionsIn(const std::vector<Stand>& list) {
    std::size_t n = 0;
    for (const Stand& stand : list) {
        n += stand.options.size();
    }
    return n;
}

} // namespace

LearnedFiles::LearnedFiles(const fs::path& folder, PackCount& count) {
    std::error_code error;
    if (!fs::is_directory(folder, error)) {
        throw std::runtime_error(platform::pathText(folder) + " is no folder");
    }
    std::vector<fs::path> files;
    for (fs::recursive_directory_iterator walk(folder, fs::directory_options::skip_permission_denied, error), end;
         !error && walk != end; walk.increment(error)) {
        std::error_code ignored;
        if (walk->is_regular_file(ignored) && upper(platform::pathText(walk->path().extension())) == ".XML") {
            files.push_back(walk->path());
        }
    }
    if (error) {
        throw std::runtime_error(fmt::format("cannot read {}: {}", platform::pathText(folder), error.message()));
    }
    std::ranges::sort(files);
    for (const fs::path& file : files) {
        const std::string code = upper(platform::pathText(file.stem()));
        pugi::xml_document document;
        if (const auto result = loadXml(document, file); !result) {
            refuse(count, file, fmt::format("could not be loaded: {}", result.description()));
            continue;
        }
        const std::string_view publisher = parameterText(document, "publisher").value_or("");
        if (!isFileCode(code)) {
            refuse(count, file, fmt::format("\"{}\" is no airport code", code));
        } else if (!isFolderName(publisher)) {
            refuse(count, file, fmt::format("\"{}\" is no publisher", publisher));
        } else if (publisher == "unknown") {
            refuse(count, file, "the publisher is unknown, so no airport file is");
        } else if (parameterText(document, "handmade")) {
            refuse(count, file, "handmade: it would replace the whole list");
        } else {
            byTarget_[targetOf(document, code, publisher)].push_back(file);
        }
    }
}

std::set<std::string> LearnedFiles::targets() const {
    std::set<std::string> all;
    for (const auto& [target, files] : byTarget_) {
        all.insert(target);
    }
    return all;
}

std::size_t LearnedFiles::mergeInto(const std::string& target, std::vector<Stand>& list, PackCount& count) const {
    const auto found = byTarget_.find(target);
    if (found == byTarget_.end()) {
        return 0;
    }
    const std::size_t before = optionsIn(list);
    for (const fs::path& file : found->second) {
        pugi::xml_document document;
        if (!loadXml(document, file)) {
            refuse(count, file, "went away while it was read");
            continue;
        }
        if (!mergeLearned(document, platform::pathText(file), list)) {
            refuse(
                count, file,
                "has stands that are not in the airport file, or made by hand and there already; the rest was merged");
        }
        ++count.learnedFiles;
    }
    for (Stand& stand : list) {
        stand.manual = false;
    }
    const std::size_t added = optionsIn(list) - before;
    count.learnedOptions += added;
    return added;
}

} // namespace kes::pack
