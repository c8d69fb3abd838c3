// SPDX-License-Identifier: MIT
// Loading and saving XML files, and the `meta` block that all of the program's XML files carry.
#pragma once

#include <filesystem>
#include <pugixml.hpp>

namespace kes {

/// Loads a document. The result and its words are those of pugixml's own `load_file`, but what is no regular file is
/// not waited for: a pipe, a device and a folder cannot be read. Any thread.
pugi::xml_parse_result loadXml(pugi::xml_document& document, const std::filesystem::path& path);

/// Saves in pugixml's default format; the file is replaced in one step, so a crash or a full disk leaves the old one.
/// False after a failure, which is logged as "saving xml did not work?". Any thread; one writer per file at a time.
bool saveXml(const pugi::xml_document& document, const std::filesystem::path& path);

/// Appends the `meta` element with its `info` children: author, version, date, copyright, MSFS.
void appendMeta(pugi::xml_node parent);
/// True when `parent` has a `meta` element whose `info` children are there with the values of this program
/// (the version and the simulator may differ).
bool metaIsGood(pugi::xml_node parent);

} // namespace kes
