#pragma once
#include "apps/common/EffectSession.h"
#include "apps/common/Errors.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <unistd.h>

// The catalogue as the host holds it after the plug-in declared it.
struct DeclaredParams {
    EffectSession session;
    std::vector<Param> const& params() { return session.params(); }
};

// The message of the UsageError that f throws, or a marker when it throws none.
inline std::string usageMessage(std::function<void()> const& f) {
    try {
        f();
    } catch (UsageError const& e) {
        return e.what();
    }
    return "(no usage error)";
}

// A value as "a,b,c", a setting as "Label=a,b,c" or "Label@frame=a,b,c".
inline std::string text(UserValue const& v) {
    return formatNumber(v[0]) + "," + formatNumber(v[1]) + "," + formatNumber(v[2]);
}
inline std::string text(Setting const& s) {
    return s.param->name + (s.keyed ? "@" + formatNumber(s.frame) : "") + "=" + text(s.value);
}

inline bool contains(std::string const& text, std::string const& part) {
    return text.find(part) != std::string::npos;
}

// A name in the temporary folder that no other test process uses, in this build or another.
inline std::string scratchPath(std::string const& name) {
    return testing::TempDir() + "mirrel-" + std::to_string(getpid()) + "-" + name;
}
