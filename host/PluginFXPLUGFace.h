#pragma once

class FxParameterCreationAPI;
class FxParameterRetrievalAPI;

// What the core reads through getFXPLUGHost(): the host's parameter interfaces, the frame being
// rendered and which application of the family is running (0 Final Cut Pro, 1 Motion,
// 2 Final Cut Express).
class PluginFXPLUGFace {
  public:
    virtual FxParameterCreationAPI* creationAPI() = 0;
    virtual FxParameterRetrievalAPI* retrievalAPI() = 0;
    virtual double getFrame() = 0;
    virtual unsigned hostIndex() = 0;

  protected:
    ~PluginFXPLUGFace() = default;
};
