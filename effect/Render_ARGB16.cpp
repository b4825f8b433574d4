#include "effect/MirrelRender.h"
#include "effect/Render.h"

int Render_ARGB16(PluginHost_API* host) {
    return MirrelRender(PIXEL_VALUES(PIXEL_ARGB16), host);
}
