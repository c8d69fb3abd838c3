// SPDX-License-Identifier: MIT
#include "platform/system.h"

#include "platform/system_os.h"
#include "platform/utf8.h"

#include <atomic>

namespace kes::platform {

namespace {

constexpr std::uint32_t noUnicodeTranslation = 1113; // the number that Windows gives for such text

[[noreturn]] void refuse(const char* what) {
    throw win32::Utf8ConversionException(what, noUnicodeTranslation);
}

/// One character from `text` at `at`, which moves behind it.
char32_t nextCharacter(std::string_view text, std::size_t& at) {
    const std::size_t length = utf8Length(text, at);
    if (length == 0)
        refuse("Text is not valid UTF-8");
    static constexpr unsigned bitsOfFirst[] = {0, 0x7F, 0x1F, 0x0F, 0x07};
    char32_t value = static_cast<unsigned char>(text[at]) & bitsOfFirst[length];
    for (std::size_t i = 1; i < length; ++i)
        value = value << 6 | (static_cast<unsigned char>(text[at + i]) & 0x3F);
    at += length;
    return value;
}

/// Numbers of the temporaries in use, one bit each. The lowest free one is taken, so that what a crash left behind is
/// written over by the next save instead of piling up.
std::atomic<std::uint64_t> takenNumbers{0};

class TemporaryNumber {
public:
    TemporaryNumber() {
        std::uint64_t taken = takenNumbers;
        do {
            number_ = 0;
            while (number_ < 63 && (taken >> number_ & 1) != 0)
                ++number_;
        } while (!takenNumbers.compare_exchange_weak(taken, taken | std::uint64_t{1} << number_));
    }
    ~TemporaryNumber() { takenNumbers &= ~(std::uint64_t{1} << number_); }
    TemporaryNumber(const TemporaryNumber&) = delete;
    TemporaryNumber& operator=(const TemporaryNumber&) = delete;

    int value() const { return number_; }

private:
    int number_ = 0;
};

} // namespace

bool replaceFile(const std::filesystem::path& target, std::string_view content, std::string& error) {
    const TemporaryNumber number;
    std::filesystem::path temporary = target;
    temporary += ".tmp" + std::to_string(number.value());
    if (os::writeThrough(temporary, content, error) && os::moveOver(temporary, target, error))
        return true;
    std::error_code ignored;
    std::filesystem::remove(temporary, ignored);
    return false;
}

std::u16string toUtf16(std::string_view utf8) {
    std::u16string result;
    result.reserve(utf8.size());
    for (std::size_t at = 0; at < utf8.size();) {
        const char32_t value = nextCharacter(utf8, at);
        if (value < 0x10000) {
            result += static_cast<char16_t>(value);
        } else {
            result += static_cast<char16_t>(0xD800 + ((value - 0x10000) >> 10));
            result += static_cast<char16_t>(0xDC00 + ((value - 0x10000) & 0x3FF));
        }
    }
    return result;
}

std::string toUtf8(std::u16string_view utf16) {
    static constexpr const char* fault = "Text is not valid UTF-16";
    std::string result;
    result.reserve(utf16.size());
    for (std::size_t at = 0; at < utf16.size(); ++at) {
        char32_t value = utf16[at];
        if (value >= 0xD800 && value <= 0xDFFF) {
            if (value > 0xDBFF || at + 1 == utf16.size() || utf16[at + 1] < 0xDC00 || utf16[at + 1] > 0xDFFF)
                refuse(fault);
            value = 0x10000 + ((value - 0xD800) << 10) + (utf16[++at] - 0xDC00);
        }
        appendUtf8(result, value);
    }
    return result;
}

std::string pathText(const std::filesystem::path& path) {
    const std::u8string text = path.u8string();
    return {text.begin(), text.end()};
}

std::filesystem::path pathFrom(std::string_view utf8) {
    return {std::u8string(utf8.begin(), utf8.end())};
}

} // namespace kes::platform
