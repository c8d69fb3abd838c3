// SPDX-License-Identifier: MIT
#include "world/content/files.h"

#include "platform/system.h"
#include "tools/csv/csv.h"

#include <fmt/format.h>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace kes::world {

void makeFolder(const std::filesystem::path& folder) {
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (error || !std::filesystem::is_directory(folder)) {
        throw std::runtime_error(fmt::format("cannot make folder {}: {}", platform::pathText(folder),
                                             error ? error.message() : "a file of that name is in the way"));
    }
}

void writeFile(const std::filesystem::path& path, std::string_view content) {
    const auto present = readBytes(path);
    if (present && *present == content) {
        return;
    }
    makeFolder(path.parent_path());
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(content.data(), static_cast<std::streamsize>(content.size()));
    file.close();
    if (!file) {
        throw std::runtime_error("cannot write " + platform::pathText(path));
    }
}

void writeXml(const std::filesystem::path& path, const pugi::xml_document& document) {
    std::ostringstream text;
    document.save(text);
    writeFile(path, text.str());
}

} // namespace kes::world
