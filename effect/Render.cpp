#include "effect/Render.h"

#include "host/PluginHost_API.h"

int Render(PluginHost_API* host) {
    PluginHost_API::RasterInfo info;
    host->getOutputRasterInfo(&info);
    switch (int(info.format)) {
    case 0:
        return Render_ARGB8(host);
    case 2:
        return Render_RGBA8(host);
    case 7:
        return Render_ARGB16(host);
    case 8:
        return Render_RGBA16(host);
    case 9:
        return Render_ARGB32(host);
    case 10:
        return Render_RGBA32(host);
    default:
        return 1;
    }
}
