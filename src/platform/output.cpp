// SPDX-License-Identifier: MIT
#include "platform/output.h"

#include <system_error>
#include <utility>

namespace kes::platform {

Output::Output(Output&& other) noexcept
    : handle_(std::exchange(other.handle_, -1)), owned_(other.owned_), mostAtOnce_(other.mostAtOnce_) {}

Output& Output::operator=(Output&& other) noexcept {
    if (this != &other) {
        close();
        handle_ = std::exchange(other.handle_, -1);
        owned_ = other.owned_;
        mostAtOnce_ = other.mostAtOnce_;
    }
    return *this;
}

std::string outputErrorText(int error) {
    return std::system_category().message(error);
}

bool writeSmallFile(const std::filesystem::path& path, std::string_view content, std::string& error) {
    Output file;
    if (!file.open(path, error))
        return false;
    while (!content.empty()) {
        const Output::Result result = file.write(content, 0);
        if (result.error != 0 || result.bytes == 0) {
            error = result.error != 0 ? outputErrorText(result.error) : "not ready";
            return false;
        }
        content.remove_prefix(result.bytes);
    }
    return true;
}

} // namespace kes::platform
