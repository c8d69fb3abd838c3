// SPDX-License-Identifier: MIT
#include "update/sha256.h"

#include "core/run_state.h"
#include "platform/file.h"
#include "platform/system.h"

#include <array>
#include <fmt/format.h>
#include <memory>
#include <new>
#include <openssl/evp.h>

namespace kes {

namespace {

class Digest {
public:
    Digest() : context_(EVP_MD_CTX_new(), EVP_MD_CTX_free) {
        if (!context_ || EVP_DigestInit_ex(context_.get(), EVP_sha256(), nullptr) != 1)
            throw std::bad_alloc(); // nothing else can go wrong there
    }
    void add(std::string_view bytes) { EVP_DigestUpdate(context_.get(), bytes.data(), bytes.size()); }
    std::string text() {
        std::array<unsigned char, EVP_MAX_MD_SIZE> bytes{};
        unsigned size = 0;
        EVP_DigestFinal_ex(context_.get(), bytes.data(), &size);
        std::string digits;
        for (unsigned i = 0; i < size; ++i)
            digits += fmt::format("{:02x}", bytes[i]);
        return digits;
    }

private:
    std::unique_ptr<EVP_MD_CTX, void (*)(EVP_MD_CTX*)> context_;
};

} // namespace

std::string sha256Of(std::string_view bytes) {
    Digest digest;
    digest.add(bytes);
    return digest.text();
}

std::string sha256OfFile(const std::filesystem::path& path) {
    platform::InputFile file;
    if (file.open(platform::pathText(path)) != 0)
        return {};
    Digest digest;
    std::string piece(524288, '\0');
    while (!stopWanted()) {
        const std::int64_t got = file.read(piece.data(), piece.size());
        if (got < 0)
            return {};
        if (got == 0)
            return digest.text();
        digest.add(std::string_view(piece).substr(0, static_cast<std::size_t>(got)));
    }
    return {};
}

} // namespace kes
