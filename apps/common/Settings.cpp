#include "apps/common/Settings.h"

#include "apps/common/Errors.h"

#include <cmath>
#include <cstdlib>
#include <fstream>
#include <iterator>

namespace {

double parseFrame(std::string const& text, std::string const& arg) {
    char* end = nullptr;
    double f = std::strtod(text.c_str(), &end);
    if (text.empty() || *end != '\0' || !std::isfinite(f))
        throw UsageError("--set " + inQuotes(arg) + ": " + inQuotes(text) +
                         " is not a frame number");
    return f;
}

} // namespace

Setting parseSetArgument(std::vector<Param> const& params, std::string const& arg) {
    size_t eq = arg.find('=');
    if (eq == std::string::npos || eq == 0)
        throw UsageError("--set " + inQuotes(arg) + ": expected LABEL=VALUE or LABEL@FRAME=VALUE");
    std::string label = arg.substr(0, eq);
    Setting s;
    size_t at = label.rfind('@');
    if (at != std::string::npos) {
        s.keyed = true;
        s.frame = parseFrame(label.substr(at + 1), arg);
        label.erase(at);
    }
    s.param = &findParam(params, label);
    s.value = parseValue(*s.param, arg.substr(eq + 1));
    return s;
}

std::vector<Setting> presetSettings(std::vector<Param> const& params, JsonValue const& doc) {
    if (doc.type != JsonValue::Type::Object)
        throw UsageError("a preset is a JSON object from label to value");
    std::vector<Setting> out;
    for (auto const& [label, v] : doc.members) {
        Param const& p = findParam(params, label);
        bool keys = v.type == JsonValue::Type::Array && !v.items.empty();
        for (auto const& item : v.items) keys = keys && item.type == JsonValue::Type::Array;
        if (!keys) {
            out.push_back({&p, false, 0.0, valueFromJson(p, v)});
            continue;
        }
        for (auto const& key : v.items) {
            if (key.items.size() != 2 || key.items[0].type != JsonValue::Type::Number)
                throw UsageError(inQuotes(p.name) + ": a key is [frame, value]");
            out.push_back({&p, true, key.items[0].number, valueFromJson(p, key.items[1])});
        }
    }
    return out;
}

std::vector<Setting> loadPreset(std::vector<Param> const& params, std::string const& path) {
    std::string text;
    try {
        std::ifstream in(path, std::ios::binary);
        if (!in.is_open()) throw std::ios_base::failure("cannot open");
        text.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
        if (in.bad()) throw std::ios_base::failure("cannot read");
    } catch (std::ios_base::failure const&) { // a folder, a device that fails
        throw Failure("cannot read preset " + inQuotes(path));
    }
    try {
        return presetSettings(params, parseJson(text));
    } catch (UsageError const& e) {
        throw UsageError("preset " + inQuotes(path) + ": " + e.what());
    } catch (std::runtime_error const& e) {
        throw UsageError("preset " + inQuotes(path) + " is not valid JSON: " + e.what());
    }
}
