#pragma once
#include "platform/FxPlugProtocols.h"

// What a host learns of the Mirrel bundle: its identifier and display name, the filter class
// Mirrel_FXPLUG_Plugin and, paired with it, the on-screen control Mirrel_FXPLUG_Overlay.
FxPlugBundle const& MirrelBundle();
