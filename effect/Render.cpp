#include "effect/Render.h"

#include "host/PluginHost_API.h"
#include "pixel/FormatDispatch.h"

namespace {
#define MIRREL_RENDER_INSTANCE(NAME) {RF_##NAME, Render_##NAME},
constexpr FormatInstance<int(PluginHost_API*)> _instances[] = {
    MIRREL_EFFECT_FORMATS(MIRREL_RENDER_INSTANCE)};
#undef MIRREL_RENDER_INSTANCE
} // namespace

int Render(PluginHost_API* host) {
    PluginHost_API::RasterInfo info;
    host->getOutputRasterInfo(&info);
    return dispatchFormat(_instances, info.format, 1, host);
}
