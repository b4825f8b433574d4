#include "effect/Render.h"

#include "host/PluginHost_API.h"

int Render(PluginHost_API* host) {
    PluginHost_API::RasterInfo info;
    host->getOutputRasterInfo(&info);
    switch (info.format) {
    case RF_ARGB8:
        return Render_ARGB8(host);
    case RF_RGBA8:
        return Render_RGBA8(host);
    case RF_ARGB16:
        return Render_ARGB16(host);
    case RF_RGBA16:
        return Render_RGBA16(host);
    case RF_ARGB32:
        return Render_ARGB32(host);
    case RF_RGBA32:
        return Render_RGBA32(host);
    default:
        return 1;
    }
}
