// SPDX-License-Identifier: MIT
#include "core/parameters_file.h"

#include "core/clock.h"
#include "core/folders.h"
#include "core/foreign_log.h"
#include "core/log.h"
#include "core/run_state.h"
#include "core/text_encoding.h"
#include "core/version.h"
#include "core/window.h"
#include "core/xml_file.h"
#include "platform/file.h"
#include "platform/system.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <filesystem>
#include <fmt/chrono.h>
#include <fmt/format.h>
#include <mutex>
#include <system_error>

namespace kes {

namespace {

namespace fs = std::filesystem;

const std::string nameAttribute = "name";
const std::string valueAttribute = "value";
constexpr const char* parametersElement = "parameters";
constexpr const char* parameterElement = "parameter";

// The real file has some 6 kB in three levels. Beyond these sizes it is not ours, and pugixml's recursion on the way
// down a deep tree would end the process.
constexpr std::uint64_t longestFile = 4u << 20;
constexpr int deepestLevel = 8;

/// Each change is load, edit, replace; two at a time would lose one of them.
std::mutex fileMutex;

StoredParameter plain(BoolParameter& parameter) {
    return {&parameter, nullptr};
}
StoredParameter plain(IntParameter& parameter) {
    return {&parameter, nullptr};
}
StoredParameter plain(TextParameter& parameter) {
    return {&parameter, nullptr};
}
template <typename Box> StoredParameter boxed(Box& box) {
    return {&box, &box};
}

const auto& table() {
    static const std::array all = {
        plain(par::RANDOM),

        boxed(par::AEROWINX),
        boxed(par::MSFS_2020),
        boxed(par::CALLSIGN_OBJECTIDS),
        boxed(par::COLLISION_USER_AIR),
        boxed(par::COLLISION_USER_GND),
        boxed(par::COLLISION_LIVE_PARKED_GND),
        boxed(par::SUPPRESS_STUB),
        boxed(par::LOG),
        boxed(par::ALWAYS_ON_TOP),
        boxed(par::SCAN_LIVERIES),
        boxed(par::LIG_AUTOMATIC),
        boxed(par::LIG_PRIORITIZE),
        boxed(par::SCAN_AIRPORTS),
        boxed(par::LIGHT_AIRCRAFT),
        boxed(par::HELICOPTERS),
        boxed(par::HIGH_PERF_AIRCRAFT),
        boxed(par::NAV_LIGHTS_WHILE_PARKED),
        boxed(par::AUTO_RANGE),
        boxed(par::LEARN_SOFT),
        boxed(par::STRAIGHT_PBS_ONLY),
        boxed(par::PARK_SOFT),
        boxed(par::PARK_FAKE),
        boxed(par::WEEK),
        boxed(par::INITIAL_LOAD_ONLY),
        boxed(par::GUID_CHANGES),

        plain(par::CUSTOM_PARKING_PERCENTAGE),
        plain(par::MAIN_WINDOW_X),
        plain(par::MAIN_WINDOW_Y),
        plain(par::LAST_EPOCH_TIME),
        plain(par::HOLDING_THRESHOLD_METERS),
        plain(par::MAX_HOLDING_MINUTES),

        boxed(par::MATCHING_DEPTH),
        boxed(par::LATERAL_RANGE),
        boxed(par::MAX_FIT),
        boxed(par::AUTO_RANGE_ABOVE_HEIGHT),
        boxed(par::MAX_LIVE),
        boxed(par::AIRPORT_RANGE),
        boxed(par::AIRPORT_HEIGHT),
        boxed(par::CUSTOM_MAX_PARK),
        boxed(par::AI_PACKAGE_ORDER),

        plain(par::PROGRAM_VERSION),
        plain(par::MSFS_INSTALL_PATH),
        plain(par::PORT_NUMBER),
        plain(par::lfolder[0]),
        plain(par::lfolder[1]),
        plain(par::lfolder[2]),
        plain(par::lfolder[3]),
        plain(par::lfolder[4]),
        plain(par::lfolder[5]),
        plain(par::lfolder[6]),
        plain(par::lfolder[7]),
        plain(par::lfolder[8]),
        plain(par::lfolder[9]),
        plain(par::PROGRAM_INSTALL_PATH),
        plain(par::MYSIMADDON24_VERSION),
        plain(par::MSFS_2024_INSTALL_PATH),
        boxed(par::DESTINATION),

        boxed(par::BLOCK_CALLSIGN),
    };
    return all;
}

std::string boolText(bool value) {
    return value ? "true" : "false";
}

void logValue(std::string_view name, std::string_view value) {
    log(fmt::format("{}={}", name, value));
}

bool isLfolder(std::string_view name) {
    return name.starts_with("lfolder");
}

void updateBox(const StoredParameter& parameter) {
    if (parameter.control == nullptr)
        return;
    if (BoolParameter* const* box = std::get_if<BoolParameter*>(&parameter.value))
        setCheck(*parameter.control, **box);
    else
        setText(*parameter.control, parameter.valueText());
}

/// Whether the text says what a reader would take from it.
bool saysBool(std::string_view text) {
    constexpr std::string_view words = "1tTyY0fFnN";
    return !text.empty() && words.find(text.front()) != std::string_view::npos;
}

std::string doubtAbout(std::string_view name, std::string_view text, std::string_view problem, std::string_view used) {
    return fmt::format("{}=\"{}\" in parameters.xml {}, {} is used", name, quoted(text), problem, used);
}

/// Value of an element that was found; returns it as it is now in effect.
std::string take(const StoredParameter& parameter, pugi::xml_attribute attribute, TakenLater& later) {
    const std::string_view text = attribute.value();
    if (BoolParameter* const* boolean = std::get_if<BoolParameter*>(&parameter.value)) {
        (*boolean)->value = attribute.as_bool();
        if (!saysBool(text))
            later.doubts.push_back(
                doubtAbout(parameter.name(), text, "is neither true nor false", boolText(**boolean)));
        return boolText(**boolean);
    }
    if (IntParameter* const* integer = std::get_if<IntParameter*>(&parameter.value)) {
        const int read = attribute.as_int();
        (*integer)->value = (*integer)->clamped(read);
        std::string used = std::to_string(**integer);
        if (text != std::to_string(read))
            later.doubts.push_back(doubtAbout(parameter.name(), text, "is no whole number", used));
        else if (read != **integer)
            later.doubts.push_back(doubtAbout(
                parameter.name(), text,
                fmt::format("lies beyond the limits {} to {}", (*integer)->minValue, (*integer)->maxValue), used));
        return used;
    }
    // A hand-edited file may hold Latin letters in the old single-byte code.
    later.texts.emplace_back(std::get<TextParameter*>(parameter.value), utf8OrLatin1(attribute.value()));
    return later.texts.back().second;
}

/// Names that nobody reads: mostly a slip of who edited the file, and then another value than the wanted one holds.
void doubtUnknown(pugi::xml_node parameters, TakenLater& later) {
    for (const pugi::xml_node node : parameters.children(parameterElement)) {
        const std::string_view name = node.attribute(nameAttribute.c_str()).value();
        if (std::none_of(table().begin(), table().end(),
                         [name](const StoredParameter& known) { return known.name() == name; }))
            later.doubts.push_back(fmt::format("\"{}\" in parameters.xml is no setting", quoted(name)));
    }
}

/// As above, for a parameter that the file lacks.
std::string takeMissing(const StoredParameter& parameter, TakenLater& later) {
    if (TextParameter* const* text = std::get_if<TextParameter*>(&parameter.value))
        later.texts.emplace_back(*text, std::string((*text)->defaultValue));
    else
        takeDefault(parameter);
    return parameter.defaultText();
}

bool appendParameter(pugi::xml_node parameters, std::string_view name, const std::string& value) {
    pugi::xml_node node = parameters.append_child(parameterElement);
    return node.append_attribute(nameAttribute.c_str()).set_value(std::string(name).c_str()) &&
           node.append_attribute(valueAttribute.c_str()).set_value(value.c_str());
}

/// Sets the value of the element that was found, or of a new one.
bool setValue(pugi::xml_node parameters, pugi::xml_node node, std::string_view name, const std::string& value) {
    if (!node)
        return appendParameter(parameters, name, value);
    pugi::xml_attribute attribute = node.attribute(valueAttribute.c_str());
    if (!attribute)
        attribute = node.append_attribute(valueAttribute.c_str());
    return attribute.set_value(value.c_str());
}

/// Finds elements by the parameter's name. The name goes in as a variable, so no name can break the expression.
class Finder {
public:
    Finder() : query_(expression(), declared(variables_)) {}

    pugi::xml_node operator()(pugi::xml_node parameters, std::string_view name) {
        variables_.set("key", std::string(name).c_str());
        return query_.evaluate_node(parameters).node();
    }

private:
    static const char* expression() {
        static const std::string text = fmt::format("{}[@{}=$key]", parameterElement, nameAttribute);
        return text.c_str();
    }
    static pugi::xpath_variable_set* declared(pugi::xpath_variable_set& variables) {
        variables.add("key", pugi::xpath_type_string);
        return &variables;
    }

    pugi::xpath_variable_set variables_;
    pugi::xpath_query query_;
};

enum class FileState { good, missing, damaged, unreadable };

/// Reads the file; `reason` tells what is wrong with a damaged or unreadable one.
FileState loadFile(const fs::path& path, pugi::xml_document& document, std::string& reason) {
    std::string content;
    const int error = platform::readFile(platform::pathText(path), content, longestFile);
    if (error == ENOENT || error == ENOTDIR)
        return FileState::missing;
    if (error != 0) {
        reason = error == EFBIG ? "too long" : platform::errorText(error);
        return error == EFBIG ? FileState::damaged : FileState::unreadable;
    }
    return parseParameters(content, document, reason) ? FileState::good : FileState::damaged;
}

/// Moves a damaged file out of the way under a name of its own. False when that fails; it is then still in place.
bool keepAside(const fs::path& path, const std::string& reason) {
    const std::string stamp = fmt::format("{:%Y%m%d-%H%M%S}", fmt::gmtime(static_cast<std::time_t>(wallClock())));
    fs::path aside;
    std::error_code error;
    for (int number = 1; number == 1 || fs::exists(fs::symlink_status(aside, error)); ++number) {
        aside = path;
        aside.replace_filename(path.stem());
        aside += ".damaged-" + stamp + (number == 1 ? std::string() : fmt::format("-{}", number));
        aside += path.extension();
    }
    fs::rename(path, aside, error);
    if (error) {
        log(fmt::format("! {} is damaged ({}) and cannot be kept aside: {}", platform::pathText(path), reason,
                        error.message()));
        return false;
    }
    log(fmt::format("! {} is damaged ({}), kept as {}", platform::pathText(path), reason, platform::pathText(aside)));
    return true;
}

/// A new file's tree; `values` stand in the order of the table.
void buildDocument(pugi::xml_document& document, const std::vector<std::string>& values) {
    document.reset();
    appendMeta(document);
    pugi::xml_node parameters = document.append_child(parametersElement);
    for (std::size_t i = 0; i < values.size(); ++i)
        appendParameter(parameters, table()[i].name(), values[i]);
}

void rewriteMeta(pugi::xml_document& document) {
    while (document.remove_child("meta")) {
    }
    appendMeta(document);
    document.prepend_move(document.child("meta"));
}

/// The defaults, and a file of them unless there is one that must not be touched.
void startFromDefaults(const fs::path& path, bool mayWrite) {
    log(platform::pathText(path) + " not found, default values taken:");
    std::vector<std::string> values;
    for (const StoredParameter& parameter : table()) {
        values.push_back(parameter.defaultText());
        // The head of the file names the simulator by the switch. Texts have to wait until the file is let go.
        if (!std::holds_alternative<TextParameter*>(parameter.value))
            takeDefault(parameter);
    }
    pugi::xml_document document;
    buildDocument(document, values);
    if (mayWrite)
        saveXml(document, path);
}

/// What follows from stored values but has no place in the file.
void deriveValues() {
    par::LATERAL_RANGE.value = par::LATERAL_RANGE.clamped(par::LATERAL_RANGE);
    setRange(static_cast<float>(par::LATERAL_RANGE));
    par::MAX_FIT_FL.value = static_cast<float>(par::MAX_FIT) * 0.5F + 0.5F;
    par::parking_percentage.value = par::parking_percentage.defaultValue;
}

void saveValue(std::string_view name, const std::string& value) {
    // Taken before the file is held, as these have locks of their own; for a file that has to be built anew.
    std::vector<std::string> values;
    for (const StoredParameter& parameter : table())
        values.push_back(parameter.valueText());

    const fs::path path = parametersFile();
    const std::lock_guard lock(fileMutex);
    pugi::xml_document document;
    std::string reason;
    const FileState state = loadFile(path, document, reason);
    if (state == FileState::unreadable) {
        // Replacing a file whose content is unknown would cost the user every other setting in it.
        log("saving xml did not work?");
        logIndented(platform::pathText(path) + ", " + reason);
    } else if (state != FileState::damaged || keepAside(path, reason)) {
        if (state != FileState::good) {
            log(platform::pathText(path) + " is gone, written anew with the values in use");
            buildDocument(document, values);
        }
        pugi::xml_node parameters = document.child(parametersElement);
        setValue(parameters, Finder()(parameters, name), name, value);
        saveXml(document, path);
    } else {
        log("saving xml did not work?");
    }
    logValue(name, value);
}

/// When two threads save one parameter at a time, the older value may reach the file last; it must not stay there.
template <typename Read> void savePresent(std::string_view name, Read read) {
    std::string value;
    do {
        value = read();
        saveValue(name, value);
    } while (read() != value);
}

} // namespace

std::string_view StoredParameter::name() const {
    return std::visit([](const Parameter* parameter) { return parameter->name; }, value);
}

std::string StoredParameter::defaultText() const {
    if (BoolParameter* const* boolean = std::get_if<BoolParameter*>(&value))
        return boolText((*boolean)->defaultValue);
    if (IntParameter* const* integer = std::get_if<IntParameter*>(&value))
        return std::to_string((*integer)->defaultValue);
    return std::string(std::get<TextParameter*>(value)->defaultValue);
}

std::string StoredParameter::valueText() const {
    if (BoolParameter* const* boolean = std::get_if<BoolParameter*>(&value))
        return boolText(**boolean);
    if (IntParameter* const* integer = std::get_if<IntParameter*>(&value))
        return std::to_string(**integer);
    return std::get<TextParameter*>(value)->get();
}

std::span<const StoredParameter> storedParameters() {
    return table();
}

void takeDefault(const StoredParameter& parameter) {
    if (BoolParameter* const* boolean = std::get_if<BoolParameter*>(&parameter.value))
        (*boolean)->value = (*boolean)->defaultValue;
    else if (IntParameter* const* integer = std::get_if<IntParameter*>(&parameter.value))
        (*integer)->value = (*integer)->defaultValue;
    else {
        TextParameter& text = *std::get<TextParameter*>(parameter.value);
        text.set(text.defaultValue);
    }
}

bool parseParameters(std::string_view content, pugi::xml_document& document, std::string& reason) {
    // Comments that a user wrote into the file survive the next save.
    const pugi::xml_parse_result result =
        document.load_buffer(content.data(), content.size(), pugi::parse_default | pugi::parse_comments);
    if (!result) {
        reason = result.description();
        return false;
    }
    struct DepthCheck : pugi::xml_tree_walker {
        bool for_each(pugi::xml_node&) override { return depth() < deepestLevel; }
    } depthCheck;
    if (!document.child(parametersElement) || !document.traverse(depthCheck)) {
        reason = "not a parameter file";
        return false;
    }
    return true;
}

bool takeParameters(pugi::xml_document& document, TakenLater& later) {
    bool changed = false;
    Finder find;
    pugi::xml_node parameters = document.child(parametersElement);
    for (const StoredParameter& parameter : table()) {
        const std::string_view name = parameter.name();
        pugi::xml_node node = find(parameters, name);
        if (const pugi::xml_attribute attribute = node.attribute(valueAttribute.c_str())) {
            const std::string value = take(parameter, attribute, later);
            logValue(name, value);
            if (isLfolder(name) && value.empty()) {
                parameters.remove_child(node);
                log(fmt::format("Parameter {} removed", name));
                changed = true;
            }
            continue;
        }
        const std::string value = takeMissing(parameter, later);
        logValue(name, value);
        if (isLfolder(name) && value.empty()) {
            // It would only be removed again.
            changed = parameters.remove_child(node) || changed;
            continue;
        }
        // An element without a value says as little as none at all.
        if (!setValue(parameters, node, name, value))
            logWarning(fmt::format("{}adding init xml parameter {} with {} failed!", "", name, value));
        changed = true;
    }
    doubtUnknown(parameters, later);
    return changed;
}

void readParameters() {
    TakenLater later;
    FileState state = FileState::good;
    const fs::path path = parametersFile();
    {
        const std::lock_guard lock(fileMutex);
        pugi::xml_document document;
        std::string reason;
        state = loadFile(path, document, reason);
        if (state == FileState::good) {
            log(fmt::format("from \"{}\"", platform::pathText(path)));
            bool changed = takeParameters(document, later);
            if (!metaIsGood(document)) {
                log("meta data incorrect?");
                rewriteMeta(document);
                changed = true;
            }
            if (changed)
                saveXml(document, path);
        } else {
            bool mayWrite = true;
            if (state == FileState::damaged)
                mayWrite = keepAside(path, reason);
            if (state == FileState::unreadable) {
                mayWrite = false;
                log(fmt::format("! {} cannot be read ({}), it is left as it is and no change will be saved",
                                platform::pathText(path), reason));
            }
            startFromDefaults(path, mayWrite);
        }
    }
    if (state == FileState::good) {
        for (const auto& [parameter, text] : later.texts)
            parameter->set(text);
        for (const std::string& doubt : later.doubts)
            showStatus(doubt, true);
    } else {
        for (const StoredParameter& parameter : table())
            takeDefault(parameter);
        par::PROGRAM_VERSION.set(toText(runningVersion()));
        for (const StoredParameter& parameter : table())
            logValue(parameter.name(), parameter.valueText());
    }
    deriveValues();
    for (const StoredParameter& parameter : table())
        updateBox(parameter);
    setText(par::parking_percentage, std::to_string(par::parking_percentage));
    setText(par::MAX_FIT_FL, fmt::format("{:.1F}", par::MAX_FIT_FL.value.load()));
}

void save(const BoolParameter& parameter) {
    savePresent(parameter.name, [&] { return boolText(parameter); });
}
void save(const IntParameter& parameter) {
    savePresent(parameter.name, [&] { return std::to_string(parameter); });
}
void save(const TextParameter& parameter) {
    savePresent(parameter.name, [&] { return parameter.get(); });
}

} // namespace kes
