#include "apps/common/ParamLookup.h"

#include "apps/common/Errors.h"

#include <OpenImageIO/strutil.h>

#include <algorithm>

std::vector<std::string> closestLabels(std::vector<Param> const& params, std::string const& label,
                                       size_t count) {
    std::string want = lowercase(label);
    std::vector<std::pair<size_t, std::string>> scored;
    for (Param const& p : params) {
        if (p.kind == ParamKind::Group) continue;
        std::string have = lowercase(p.name);
        // A label that contains what was typed is as good as a near miss.
        size_t d = !want.empty() && have.find(want) != std::string::npos
                       ? 1
                       : OIIO::Strutil::edit_distance(want, have);
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
