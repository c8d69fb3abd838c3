// SPDX-License-Identifier: MIT
// Bytes as the content of parameters.xml. What is taken must be savable, and the saved file must give the same values.
#include "core/parameters_file.h"
#include "core/text_encoding.h"
#include "fuzz/fuzz.h"

#include <string>

namespace {

using kes::fuzz::require;

struct TextWriter : pugi::xml_writer {
    std::string text;
    void write(const void* data, std::size_t size) override { text.append(static_cast<const char*>(data), size); }
};

bool isLfolder(std::string_view name) {
    return name.starts_with("lfolder");
}

/// All values but the lfolders: when an empty one is removed, a second one of the same name comes to light.
std::string valuesNow(const kes::TakenLater& later) {
    std::string all;
    for (const kes::StoredParameter& parameter : kes::storedParameters())
        if (!std::holds_alternative<kes::TextParameter*>(parameter.value))
            all += parameter.valueText() + '\n';
    for (const auto& [parameter, text] : later.texts) {
        require(kes::isUtf8(text));
        if (!isLfolder(parameter->name))
            all += text + '\n';
    }
    return all;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    pugi::xml_document document;
    std::string reason;
    if (!kes::parseParameters(kes::fuzz::textOf(data, size), document, reason)) {
        require(!reason.empty());
        return 0;
    }
    kes::TakenLater later;
    kes::takeParameters(document, later);
    for (const kes::StoredParameter& parameter : kes::storedParameters())
        if (kes::IntParameter* const* integer = std::get_if<kes::IntParameter*>(&parameter.value))
            require((*integer)->clamped(**integer) == **integer);

    const std::string values = valuesNow(later);
    TextWriter writer;
    document.save(writer);
    pugi::xml_document again;
    require(kes::parseParameters(writer.text, again, reason));
    later = {};
    kes::takeParameters(again, later);
    require(valuesNow(later) == values);
    return 0;
}
