#pragma once

class PluginHost_API;

// Declares the whole catalogue to the host's creation interface, in display order.
// Returns 1; without an FxPlug face nothing is declared.
int ParamsSetup(PluginHost_API* host);
