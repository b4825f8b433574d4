#include "effect/MirrelRender.h"
#include "effect/Render.h"

int Render_RGBA16(PluginHost_API* host) {
    return MirrelRender(PIXEL_VALUES(PIXEL_RGBA16), host);
}
