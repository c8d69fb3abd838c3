// SPDX-License-Identifier: MIT
// The list of liveries, which users edit by hand: any bytes give liveries or one of the errors that the user is told,
// and any title that a scan may find comes back as it was.
#include "core/errors.h"
#include "core/folders.h"
#include "core/xml_file.h"
#include "fuzz/fuzz.h"
#include "liveries/livery.h"

#include <filesystem>
#include <fstream>
#include <sstream>

namespace {

void readBytes(std::string_view bytes) {
    std::ofstream(kes::path::liveriesScanned, std::ios::binary)
        .write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    try {
        (void)kes::readLiveriesScanned();
    } catch (const nwk::UserErrorException&) {
    }
}

/// Behind a good head, so that the bytes are what stands between a reader and its records.
void readBody(std::string_view bytes) {
    static const std::string head = [] {
        pugi::xml_document document;
        kes::appendMeta(document.append_child("liveries"));
        std::ostringstream out;
        document.save(out);
        return out.str().substr(0, out.str().rfind("</liveries>"));
    }();
    readBytes(head + "<liv airl=\"DLH\" " + std::string(bytes) + "/></liveries>");
}

/// One record for each piece between NULs.
void writeAndRead(std::string_view bytes) {
    std::vector<kes::Livery> liveries;
    while (!bytes.empty()) {
        const std::string_view piece = bytes.substr(0, bytes.find('\0'));
        bytes.remove_prefix(std::min(piece.size() + 1, bytes.size()));
        if (piece.size() < 2)
            continue;
        kes::Livery livery;
        livery.airline = piece.substr(0, 1);
        livery.model = piece.substr(1, 1);
        livery.title = piece.substr(2);
        livery.regcode = piece.substr(piece.size() / 2);
        livery.cargo = piece.size() % 2 == 0;
        liveries.push_back(livery);
    }
    if (liveries.empty())
        return;
    kes::sortLiveries(liveries);
    kes::fuzz::require(kes::writeLiveriesScanned(liveries));
    kes::fuzz::require(std::ranges::equal(liveries, kes::readLiveriesScanned(), [](const auto& a, const auto& b) {
        return std::tie(a.airline, a.model, a.title, a.regcode, a.cargo) ==
               std::tie(b.airline, b.model, b.title, b.regcode, b.cargo);
    }));
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    const auto folder = std::filesystem::temp_directory_path() / "kestrelune-fuzz-list";
    std::filesystem::create_directories(folder / "output");
    std::filesystem::current_path(folder);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0)
        return 0;
    const std::string_view bytes = kes::fuzz::textOf(data + 1, size - 1);
    data[0] % 4 == 0 ? readBytes(bytes) : data[0] % 4 == 1 ? readBody(bytes) : writeAndRead(bytes);
    return 0;
}
