// SPDX-License-Identifier: MIT
#include "core/xml_file.h"

#include "core/log.h"
#include "core/parameters.h"
#include "core/version.h"
#include "platform/file.h"
#include "platform/system.h"

#include <cerrno>
#include <string>
#include <vector>

namespace kes {

namespace {

struct TextWriter : pugi::xml_writer {
    std::string text;
    void write(const void* data, std::size_t size) override { text.append(static_cast<const char*>(data), size); }
};

// Fixed texts: they name the layout of the block, not a build, so files of all versions agree in them.
constexpr const char* metaDate = "2026-01-01";
constexpr const char* metaCopyright = "Copyright (c) The Kestrelune developers, MIT License";

struct MetaInfo {
    const char* name;
    std::string value;
    bool fixed; ///< a file of this program has exactly this value
};

std::vector<MetaInfo> metaInfos() {
    return {{"author", std::string(programName), true},
            {"version", toText(runningVersion()), false},
            {"date", metaDate, true},
            {"copyright", metaCopyright, true},
            {"MSFS", par::MSFS_2020 ? "2020" : "2024", false}};
}

} // namespace

pugi::xml_parse_result loadXml(pugi::xml_document& document, const std::filesystem::path& path) {
    std::string text;
    if (const int error = platform::readFile(platform::pathText(path), text)) {
        document.reset();
        pugi::xml_parse_result result;
        result.status = error == ENOENT ? pugi::status_file_not_found : pugi::status_io_error;
        return result;
    }
    return document.load_buffer(text.data(), text.size());
}

bool saveXml(const pugi::xml_document& document, const std::filesystem::path& path) {
    TextWriter writer;
    document.save(writer);
    std::string error;
    if (platform::replaceFile(path, writer.text, error))
        return true;
    log("saving xml did not work?");
    logIndented(platform::pathText(path) + ", " + error);
    return false;
}

void appendMeta(pugi::xml_node parent) {
    pugi::xml_node meta = parent.append_child("meta");
    for (const MetaInfo& info : metaInfos()) {
        pugi::xml_node node = meta.append_child("info");
        node.append_attribute("name") = info.name;
        node.append_attribute("value") = info.value.c_str();
    }
}

bool metaIsGood(pugi::xml_node parent) {
    const pugi::xml_node meta = parent.child("meta");
    for (const MetaInfo& info : metaInfos()) {
        const pugi::xml_attribute value = meta.find_child_by_attribute("info", "name", info.name).attribute("value");
        if (value.empty() || *value.value() == '\0' || (info.fixed && info.value != value.value()))
            return false;
    }
    return true;
}

} // namespace kes
