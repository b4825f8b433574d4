#include "effect/MirrelRender.h"
#include "effect/Render.h"

int Render_RGBA32(PluginHost_API* host) {
    return MirrelRender(PIXEL_VALUES(PIXEL_RGBA32), host);
}
