// SPDX-License-Identifier: MIT
#include "liveries/folder_walk.h"

#include "core/log.h"
#include "core/run_state.h"
#include "core/text.h"
#include "liveries/ivao_cfg.h"
#include "platform/file.h"

#include <array>
#include <fmt/format.h>
#include <string_view>

namespace kes {

namespace {

constexpr std::size_t tooLong = 250; ///< bytes of a path that is not entered any more
/// Scenery and airports in hundreds of folders, and what the simulator leaves behind of converted packages.
constexpr std::array<std::string_view, 9> closedWords{"airport",   "lvfr",     "mkstudios", "simwings", "fsdreamteam",
                                                      "navigraph", "flytampa", "inibuilds", "_CVT_"};

bool holdsClosedWord(std::string_view text) {
    constexpr auto begins = [] {
        std::array<bool, 256> letters{};
        for (const std::string_view word : closedWords)
            letters[static_cast<unsigned char>(word[0])] = true;
        return letters;
    }();
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (!begins[static_cast<unsigned char>(text[at])])
            continue;
        for (const std::string_view word : closedWords) {
            if (text[at] == word[0] && text.substr(at).starts_with(word))
                return true;
        }
    }
    return false;
}

bool isCfgName(std::string_view name) {
    constexpr std::string_view wanted = "aircraft.cfg";
    return name.size() == wanted.size() && equalsNoCase(name, wanted);
}

void tell(const WalkProblem& problem) {
    switch (problem.kind) {
    case WalkProblem::unreadable:
        log(fmt::format("liveries search in folder {} aborted because of iterator problem: {}", problem.path,
                        platform::errorText(problem.error)));
        break;
    case WalkProblem::failed:
        log(problem.isFolder
                ? fmt::format("liveries search in {} aborted, cause: {}", problem.path, problem.cause)
                : fmt::format("exception in {} {}: {}",
                              isIvaoPath(problem.path) ? "lf_searchLiveriesinIvaoFile" : "lf_searchLiveriesinFile",
                              problem.path, problem.cause));
        break;
    case WalkProblem::fewerThreads:
        log(fmt::format("liveries search with {} threads: {}", problem.count, problem.cause));
        break;
    case WalkProblem::untold:
        log(fmt::format("{} files or folders could not be searched, out of memory", problem.count));
        break;
    }
}

} // namespace

WalkCount walkFolder(const CfgRules& rules, const std::string& root, const std::function<void(CfgJudgement&)>& take) {
    const bool rootIsClosed = holdsClosedWord(root);
    WalkClient<CfgJudgement> client;
    client.threadName = "liveries";
    client.stopWanted = stopWanted;
    client.select = [rootIsClosed](const WalkEntry& entry) {
        if (entry.isFolder) {
            // The words hold no separator, so the folders above need no second look.
            const bool closed = rootIsClosed || entry.pathSize >= tooLong || holdsClosedWord(entry.name);
            return closed ? WalkStep::pass : WalkStep::enter;
        }
        return entry.isFile && isCfgName(entry.name) ? WalkStep::pick : WalkStep::pass;
    };
    client.work = [&rules](const PickedEntry& file, CfgJudgement& judgement) {
        judgeFile(rules, file.path, {nullptr, file.folder, file.name, file.isRegular}, judgement);
    };
    client.take = take;
    client.tell = tell;
    return walkFolders({root}, client);
}

} // namespace kes
