#include "platform/output.h"

namespace kes::platform {

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
