#pragma once

class PluginUpdate_Impl;

// Enables and disables the parameters that depend on a switch after the switch `id` changed:
// "Transfer Mode" governs "Source Opacity", "Motion Blur" its shutter and samples, "Bend" the
// bend and seam parameters. Other ids change nothing.
void ParamsChangeRules(PluginUpdate_Impl& update, unsigned long id);
