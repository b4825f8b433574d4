#include "effect/MirrelRender.h"
#include "effect/Render.h"

int Render_RGBA8(PluginHost_API* host) {
    return MirrelRender(PIXEL_VALUES(PIXEL_RGBA8), host);
}
