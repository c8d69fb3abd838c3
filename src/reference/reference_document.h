// SPDX-License-Identifier: MIT
// The document that fills the reference data: fetched from the update server, unscrambled, checked. It is read aside
// and put in use as a whole. Worker.
#pragma once

#include "reference/airframes.h"

#include <cstddef>
#include <filesystem>
#include <string>

namespace kes {

/// Fetches "dbase.zip" from the update server, fills all tables and deletes the document. Always true; throws
/// std::runtime_error when the document cannot be fetched or a scrambled value is broken, nwk::UserErrorException 60
/// when it is no XML and 61 when a section is empty. Spans that are no positive number are logged and left out. A
/// failure leaves the tables as they were, and the document is deleted all the same. Worker.
bool readDataBase();
/// Fills all tables from a document file, which stays. Same errors but the fetching.
void readReferenceDocument(const std::filesystem::path& file);
namespace reference {

/// How the registrations of a document are parsed: in pieces, so that the tree of half a million elements never stands
/// in memory at once, or with all else. The outcome is the same, errors and log lines too; a document whose form the
/// pieces do not fit is parsed as a whole in any case.
enum class ParseAs { pieces, whole };
/// Fills fresh tables and puts them in use. `path` is named in messages. Throws as `readReferenceDocument`.
void readDocumentText(std::string text, const std::filesystem::path& path, ParseAs parseAs = ParseAs::pieces,
                      std::size_t pieceSize = usualPiece);

} // namespace reference

} // namespace kes
