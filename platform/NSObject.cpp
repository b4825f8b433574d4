#include "platform/NSObject.h"

#include "platform/FxHostCapabilities.h"

namespace {

NSObject* allocHostCapabilities() {
    return new FxHostCapabilities;
}

// The system's classes that a plug-in may look up by name.
constexpr NSClass kClasses[] = {
    {"FxHostCapabilities", &allocHostCapabilities},
};

} // namespace

NSClass const* NSClassFromString(std::string_view name) {
    for (NSClass const& c : kClasses)
        if (name == c.name) return &c;
    return nullptr;
}
