#pragma once
#include "apps/common/Picture.h"

// The demo's scene, drawn in code: an evening sky with a sun, hills, and three shapes standing
// on a floor line at `floorY` (a fraction of the height, y down). Opaque, 8 bits.
Picture demoScene(int width, int height, double floorY);
