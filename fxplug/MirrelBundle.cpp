#include "fxplug/MirrelBundle.h"

#include "fxplug/Mirrel_FXPLUG_Overlay.h"
#include "fxplug/Mirrel_FXPLUG_Plugin.h"

namespace {

FxFilter* allocFilter() {
    return new Mirrel_FXPLUG_Plugin;
}
FxOnScreenControl* allocOverlay() {
    return new Mirrel_FXPLUG_Overlay;
}

constexpr FxPlugBundle kBundle = {
    "org.mirrel.filter",     "Mirrel",     "Mirrel_FXPLUG_Plugin",
    "Mirrel_FXPLUG_Overlay", &allocFilter, &allocOverlay,
};

} // namespace

FxPlugBundle const& MirrelBundle() {
    return kBundle;
}
