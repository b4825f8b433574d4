#include "effect/MirrelRender.h"
#include "effect/Render.h"

int Render_ARGB32(PluginHost_API* host) {
    return MirrelRender(PIXEL_VALUES(PIXEL_ARGB32), host);
}
