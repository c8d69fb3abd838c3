// SPDX-License-Identifier: MIT
// Looks at installed liveries from the shell: what each file gives, and which livery an aircraft gets and why. The same
// modules as the program, in a temporary program folder, so that nothing of the user's is touched.
#pragma once

#include <filesystem>
#include <iosfwd>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kes::inspect {

/// A program folder for one look, current directory while it lives; removed at the end.
class WorkFolder {
public:
    /// `updates`: folder or URL of an update server. Throws std::runtime_error when no folder can be made.
    explicit WorkFolder(const std::string& updates);
    ~WorkFolder();
    WorkFolder(const WorkFolder&) = delete;
    WorkFolder& operator=(const WorkFolder&) = delete;

private:
    std::filesystem::path folder_, before_;
};

/// What a scan of the folders says about each file, in the order of the walk, and totals. Titles that were seen before
/// are dropped. A folder that cannot be read or gives nothing has a "problem"; the total "foldersNotRead" counts those
/// of the first kind.
nlohmann::ordered_json inspectLiveries(const std::vector<std::filesystem::path>& folders, bool suppressStub);

struct MatchQuery {
    std::string airline, model, regcode;
    bool cargo = false;
};
/// "AIRLINE MODEL REG [cargo]", '-' for what is not known; REG and what follows may be missing. Nothing for another
/// line.
std::optional<MatchQuery> parseQuery(std::string_view line);

struct MatchAnswer {
    int step = 0; ///< 0 = no livery
    std::string title, reason;
};
/// Asks the matcher about an aircraft with this report and a callsign that tells no airline, as the traffic does: what
/// the data base knows of the registration goes before the query, which alone tells of freight otherwise. The tables
/// must be built.
MatchAnswer answer(const MatchQuery& query);

} // namespace kes::inspect
