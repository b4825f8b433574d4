#include "apps/common/ParamLookup.h"

#include "apps/common/Errors.h"

#include <algorithm>
#include <cctype>

namespace {

size_t editDistance(std::string const& a, std::string const& b) {
    std::vector<size_t> prev(b.size() + 1), cur(b.size() + 1);
    for (size_t j = 0; j <= b.size(); ++j) prev[j] = j;
    for (size_t i = 1; i <= a.size(); ++i) {
        cur[0] = i;
        for (size_t j = 1; j <= b.size(); ++j)
            cur[j] = std::min({prev[j] + 1, cur[j - 1] + 1, prev[j - 1] + (a[i - 1] != b[j - 1])});
        std::swap(prev, cur);
    }
    return prev[b.size()];
}

} // namespace

std::string lowercase(std::string s) {
    for (char& c : s) c = char(std::tolower(static_cast<unsigned char>(c)));
    return s;
}

char const* kindName(ParamKind kind) {
    switch (kind) {
    case ParamKind::Group:
        return "group";
    case ParamKind::Popup:
        return "popup";
    case ParamKind::Toggle:
        return "toggle";
    case ParamKind::Float:
        return "float";
    case ParamKind::Int:
        return "int";
    case ParamKind::Angle:
        return "angle";
    case ParamKind::Point:
        return "point";
    case ParamKind::Color:
        return "colour";
    }
    return "?";
}

std::vector<std::string> closestLabels(std::vector<Param> const& params, std::string const& label,
                                       size_t count) {
    std::string want = lowercase(label);
    std::vector<std::pair<size_t, std::string>> scored;
    for (Param const& p : params) {
        if (p.kind == ParamKind::Group) continue;
        std::string have = lowercase(p.name);
        // A label that contains what was typed is as good as a near miss.
        size_t d =
            !want.empty() && have.find(want) != std::string::npos ? 1 : editDistance(want, have);
        scored.emplace_back(d, p.name);
    }
    std::stable_sort(scored.begin(), scored.end(),
                     [](auto const& a, auto const& b) { return a.first < b.first; });
    std::vector<std::string> out;
    for (size_t i = 0; i < scored.size() && i < count; ++i) out.push_back(scored[i].second);
    return out;
}

Param const& findParam(std::vector<Param> const& params, std::string const& label) {
    std::string want = lowercase(label);
    for (Param const& p : params)
        if (p.kind != ParamKind::Group && lowercase(p.name) == want) return p;
    std::string msg = "unknown parameter " + inQuotes(label);
    auto near = closestLabels(params, label);
    for (size_t i = 0; i < near.size(); ++i)
        msg += (i == 0 ? "; closest: " : ", ") + inQuotes(near[i]);
    throw UsageError(msg);
}
