#pragma once
#include "platform/FxPlugProtocols.h"

// The filter that an FxPlug host drives: declares the parameters, answers the host's questions,
// and turns each frame (or field) into one call of the core's Render.
class Mirrel_FXPLUG_Plugin : public NSObject, public FxFilter {
  public:
    // Stores the manager and identifies the host application into g_hostIndex.
    Mirrel_FXPLUG_Plugin* initWithAPIManager(FxAPIManager* manager) override;
    NSDictionary properties() override;
    BOOL addParameters() override;
    BOOL parameterChanged(unsigned long parmId) override;
    BOOL variesOverTime() override { return NO; }
    BOOL getOutputWidth_height_withInput_withInfo(unsigned* width, unsigned* height,
                                                  FxImageInfo inputInfo,
                                                  FxRenderInfo renderInfo) override;
    BOOL frameSetup_inputInfo_hardware_software(FxRenderInfo renderInfo, FxImageInfo inputInfo,
                                                BOOL* canRenderHardware,
                                                BOOL* canRenderSoftware) override;
    BOOL renderOutput_withInput_withInfo(FxBitmap* output, FxBitmap* input,
                                         FxRenderInfo renderInfo) override;
    BOOL frameCleanup() override { return YES; }

  private:
    FxAPIManager* _apiManager = nullptr;
};
