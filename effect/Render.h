#pragma once

class PluginHost_API;

// Renders one frame: dispatches on the output's format to the driver compiled for it.
// Returns what the driver returned, or 1 for a format the effect does not serve.
int Render(PluginHost_API* host);

int Render_ARGB8(PluginHost_API* host);
int Render_RGBA8(PluginHost_API* host);
int Render_ARGB16(PluginHost_API* host);
int Render_RGBA16(PluginHost_API* host);
int Render_ARGB32(PluginHost_API* host);
int Render_RGBA32(PluginHost_API* host);
