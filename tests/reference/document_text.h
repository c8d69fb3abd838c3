// SPDX-License-Identifier: MIT
// Builds the texts of reference documents.
#pragma once

#include "reference/reference.h"
#include "reference/reference_document.h"
#include "reference/reference_tables.h"
#include "reference/scramble.h"
#include "reference_text.h"
#include "support.h"

#include <initializer_list>
#include <string_view>
#include <utility>

namespace kes::test {

inline std::string model(std::string_view code) {
    return escaped(encryptModel(code));
}
inline std::string airline(std::string_view code) {
    return escaped(encryptAirline(code));
}
inline std::string reg(std::string_view regcode) {
    return escaped(encryptRegcode(regcode));
}

inline std::string models(std::initializer_list<std::string_view> codes) {
    return listOf(codes, encryptModel);
}

inline std::string db(std::string_view regcode, std::string_view airl, std::string_view type, std::string_view opr = "",
                      std::string_view cargo = "") {
    return fmt::format("<db reg=\"{}\" airl=\"{}\" type=\"{}\" opr=\"{}\" cargo=\"{}\"/>\n", reg(regcode),
                       airline(airl), model(type), airline(opr), cargo);
}

inline std::string span(std::string_view type, std::string_view metres) {
    return fmt::format("<wingspan type=\"{}\" meters=\"{}\"/>", model(type), metres);
}

/// The sections of a document in their order. It starts with what a document must have.
struct DocumentText {
    std::vector<std::pair<std::string, std::string>> sections{
        {"aircrafts",
         element("aircraft", "types", models({"A320", "A388", "B744", "C25A", "EC35", "F16", "C172", "A1"}))},
        {"high_performance", element("hpf", "types", models({"F16"}))},
        {"heavy", element("hvy", "types", models({"B744", "A388"}))},
        {"large", element("lar", "types", models({"A320", "A388"}))},
        {"buzjet", element("bzj", "types", models({"C25A"}))},
        {"rotorcraft", element("rot", "types", models({"EC35"}))},
        {"cargo_types", element("cargo_type", "types", models({"B744"}))},
        {"ICAO_airlines", element("ICAO", "codes", airline("KLM") + "," + airline("BAW"))},
        {"cargo_operators", element("ICAO", "codes", airline("GEC"))},
        {"simaddons20", element("simaddon20", "arpts", "EHAM,LFPG")},
    };

    static std::string element(std::string_view name, std::string_view attribute, std::string_view value) {
        return fmt::format("<{} {}=\"{}\"/>", name, attribute, value);
    }
    /// Puts a section in place of the one of that name, or behind all others.
    DocumentText& set(const std::string& name, const std::string& content) {
        for (auto& section : sections) {
            if (section.first == name) {
                section.second = content;
                return *this;
            }
        }
        sections.emplace_back(name, content);
        return *this;
    }
    DocumentText& without(const std::string& name) {
        std::erase_if(sections, [&](const auto& section) { return section.first == name; });
        return *this;
    }
    std::string xml() const {
        std::string all = "<?xml version=\"1.0\"?>\n";
        for (const auto& [name, content] : sections)
            all += fmt::format("<{0}>{1}</{0}>\n", name, content);
        return all;
    }
    /// Fills the tables of the process.
    void read(reference::ParseAs parseAs = reference::ParseAs::pieces) const {
        reference::readDocumentText(xml(), "input/temp2.xml", parseAs);
    }
};

/// A program folder, and no tables at both ends.
struct ReferenceTest : testing::Test {
    ReferenceTest() { resetReference(); }
    ~ReferenceTest() override { resetReference(); }
    ProgramFolder folder;
};

} // namespace kes::test
