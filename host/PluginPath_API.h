#pragma once

// Mask paths of other host families. The effect calls nothing on it; it exists as a type.
class PluginPath_API {
  public:
    virtual ~PluginPath_API() = default;
};
