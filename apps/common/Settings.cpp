#include "apps/common/Settings.h"

#include "apps/common/Errors.h"
#include "apps/common/InputFile.h"

#include <cctype>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <set>

namespace {

double parseFrame(std::string const& text, std::string const& arg) {
    char* end = nullptr;
    double f = std::strtod(text.c_str(), &end);
    if (text.empty() || *end != '\0' || !std::isfinite(f))
        throw UsageError("--set " + inQuotes(arg) + ": " + inQuotes(text) +
                         " is not a frame number");
    return f;
}

// The reader's position in preset text, for messages: how far the parser has read.
struct Cursor {
    char const* p;
    size_t far;
};

struct CountingIterator {
    using iterator_category = std::input_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = char const*;
    using reference = char const&;
    Cursor* c;
    char const& operator*() const { return *c->p; }
    CountingIterator& operator++() {
        ++c->p, ++c->far;
        return *this;
    }
    bool operator==(CountingIterator const& o) const { return c->p == o.c->p; }
    bool operator!=(CountingIterator const& o) const { return c->p != o.c->p; }
};

std::string lineAndColumn(std::string const& text, size_t offset) {
    size_t line = 1, column = 1;
    for (size_t i = 0; i < offset && i < text.size(); ++i) {
        if (text[i] == '\n')
            ++line, column = 1;
        else
            ++column;
    }
    return "line " + std::to_string(line) + ", column " + std::to_string(column);
}

// The opening quote of the key whose closing quote the parser has just read.
size_t keyStart(std::string const& text, size_t consumed) {
    size_t i = consumed >= 2 ? consumed - 2 : 0;
    while (i > 0 && !(text[i] == '"' && text[i - 1] != '\\')) --i;
    return i;
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

std::vector<Setting> presetSettings(std::vector<Param> const& params, std::string const& text,
                                    std::string const& name) {
    using Json = nlohmann::ordered_json;
    Cursor cursor{text.data(), 0};
    Cursor end{text.data() + text.size(), 0};
    size_t* consumed = &cursor.far;
    // Where each member of the top object starts, for messages about its value.
    std::vector<size_t> memberStart;
    std::vector<std::set<std::string>> seen;
    auto at = [&](size_t offset) { return name + ", " + lineAndColumn(text, offset) + ": "; };
    auto watch = [&](int depth, Json::parse_event_t event, Json& parsed) {
        if (event == Json::parse_event_t::object_start) seen.emplace_back();
        if (event == Json::parse_event_t::object_end) seen.pop_back();
        if (event != Json::parse_event_t::key) return true;
        size_t start = keyStart(text, *consumed);
        if (!seen.back().insert(lowercase(parsed.get<std::string>())).second)
            throw UsageError(at(start) + "key " + inQuotes(parsed.get<std::string>()) +
                             " is given twice");
        if (depth == 1) memberStart.push_back(start);
        return true;
    };
    Json doc;
    try {
        doc = Json::parse(CountingIterator{&cursor}, CountingIterator{&end}, watch);
    } catch (Json::parse_error const& e) {
        std::string what = e.what();
        size_t column = what.find("column ");
        size_t colon = column == std::string::npos ? column : what.find(": ", column);
        throw UsageError(at(e.byte ? e.byte - 1 : 0) + "not valid JSON: " +
                         (colon == std::string::npos ? what : what.substr(colon + 2)));
    } catch (Json::out_of_range const&) { // a number beyond a double, such as 1e400
        // The parser has read one character past the number.
        size_t start = std::min(*consumed, text.size());
        while (start > 0 && !std::isdigit(static_cast<unsigned char>(text[start - 1]))) --start;
        while (start > 0 && std::strchr("0123456789+-.eE", text[start - 1])) --start;
        throw UsageError(at(start) + "not valid JSON: a number too large for a double");
    }
    if (!doc.is_object()) throw UsageError(at(0) + "a preset is a JSON object from label to value");
    std::vector<Setting> out;
    size_t index = 0;
    for (auto const& [label, v] : doc.items()) {
        try {
            Param const& p = findParam(params, label);
            bool keys = v.is_array() && !v.empty();
            for (auto const& item : v) keys = keys && item.is_array();
            if (!keys) {
                out.push_back({&p, false, 0.0, valueFromJson(p, v)});
            } else {
                for (auto const& key : v) {
                    if (key.size() != 2 || !key[0].is_number())
                        throw UsageError(inQuotes(p.name) + ": a key is [frame, value]");
                    out.push_back({&p, true, key[0].get<double>(), valueFromJson(p, key[1])});
                }
            }
        } catch (UsageError const& e) {
            throw UsageError(at(memberStart[index]) + e.what());
        }
        ++index;
    }
    return out;
}

std::vector<Setting> loadPreset(std::vector<Param> const& params, std::string const& path) {
    // A preset is a few kilobytes of JSON; the limit keeps a huge file out of memory.
    if (checkInputFile("preset", path) > (1 << 20))
        throw Failure("cannot read preset " + inQuotes(path) + ": larger than 1 MB");
    std::string text;
    try {
        std::ifstream in(path, std::ios::binary);
        if (!in.is_open()) throw std::ios_base::failure("cannot open");
        text.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
        if (in.bad()) throw std::ios_base::failure("cannot read");
    } catch (std::ios_base::failure const&) { // a folder, a device that fails
        throw Failure("cannot read preset " + inQuotes(path));
    }
    return presetSettings(params, text, "preset " + inQuotes(path));
}
