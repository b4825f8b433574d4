#pragma once

class FxAPIManager;

// Which application of the family hosts the plug-in: 0 Final Cut Pro, 1 Motion, 2 Final Cut
// Express. Written at each plug-in initialisation, with the same value for every instance of a
// process, and only read afterwards.
extern unsigned g_hostIndex;

constexpr unsigned kHostFinalCutPro = 0;
constexpr unsigned kHostMotion = 1;
constexpr unsigned kHostFinalCutExpress = 2;

// Asks FxHostCapabilities, then the process name; an unknown host is taken for Final Cut Pro
// after telling the user.
unsigned GetHostIndex(FxAPIManager* manager);
