#include "fxplug/Mirrel_FXPLUG_Plugin.h"

#include "effect/Render.h"
#include "fxplug/FxFrame.h"
#include "fxplug/HostIndex.h"
#include "fxplug/PluginHost_FXPLUG_Impl.h"
#include "params/ParamsChangeRules.h"
#include "params/ParamsSetup.h"
#include "params/PluginUpdate_Impl.h"
#include "platform/FxAPIManager.h"
#include "platform/FxBitmap.h"

Mirrel_FXPLUG_Plugin* Mirrel_FXPLUG_Plugin::initWithAPIManager(FxAPIManager* manager) {
    _apiManager = manager;
    // Every instance finds the same host; writing only a change keeps the global written once
    // while other instances render and read it.
    unsigned const index = GetHostIndex(manager);
    if (g_hostIndex != index) g_hostIndex = index;
    return this;
}

NSDictionary Mirrel_FXPLUG_Plugin::properties() {
    return {
        {"SupportsRowBytes", NSNumber::numberWithBool(true)},
        {"SupportsR408", NSNumber::numberWithBool(false)},
        {"SupportsR4fl", NSNumber::numberWithBool(false)},
        {"MayRemapTime", NSNumber::numberWithBool(false)},
        {"EquivalentSMPTEWipeCode", NSNumber::numberWithInt(0)},
    };
}

BOOL Mirrel_FXPLUG_Plugin::addParameters() {
    auto* creation = _apiManager->apiForProtocol<FxParameterCreationAPI>();
    if (!creation) return NO;
    PluginHost_FXPLUG_Impl host(creation, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                nullptr, nullptr);
    ParamsSetup(&host);
    return YES;
}

BOOL Mirrel_FXPLUG_Plugin::parameterChanged(unsigned long parmId) {
    auto* retrieval = _apiManager->apiForProtocol<FxParameterRetrievalAPI>();
    auto* setting = _apiManager->apiForProtocol<FxParameterSettingAPI>();
    auto* action = _apiManager->apiForProtocol<FxCustomParameterActionAPI>();
    if (!retrieval || !setting || !action) return NO;
    PluginUpdate_Impl update(retrieval, setting, action->currentTime());
    ParamsChangeRules(update, parmId);
    return YES;
}

BOOL Mirrel_FXPLUG_Plugin::getOutputWidth_height_withInput_withInfo(unsigned* width,
                                                                    unsigned* height,
                                                                    FxImageInfo inputInfo,
                                                                    FxRenderInfo) {
    if (!width || !height) return NO;
    *width = inputInfo.width;
    *height = inputInfo.height;
    return YES;
}

BOOL Mirrel_FXPLUG_Plugin::frameSetup_inputInfo_hardware_software(FxRenderInfo, FxImageInfo,
                                                                  BOOL* canRenderHardware,
                                                                  BOOL* canRenderSoftware) {
    // Everything renders on the processor.
    *canRenderHardware = NO;
    *canRenderSoftware = YES;
    return YES;
}

BOOL Mirrel_FXPLUG_Plugin::renderOutput_withInput_withInfo(FxBitmap* output, FxBitmap* input,
                                                           FxRenderInfo renderInfo) {
    auto* retrieval = _apiManager->apiForProtocol<FxParameterRetrievalAPI>();
    if (!retrieval) return NO;
    FxBitmap* source = getSameSizedInputAsOutput(input, output);
    auto* scratch = _apiManager->apiForProtocol<FxScratchMemoryAPI>();

    if (renderInfo.field == 0 || g_hostIndex == kHostMotion) {
        PluginHost_FXPLUG_Impl host(nullptr, retrieval, source, output, &renderInfo, nullptr,
                                    nullptr, nullptr, nullptr);
        host.setHostVersionNum(_apiManager);
        host.setScratchMemory(scratch);
        Render(&host);
    } else {
        // A field renders at frame height on line-doubled pictures, as a whole frame.
        unsigned field = renderInfo.field;
        renderInfo.field = 0;
        FxBitmap* doubledInput = render_lineDouble(source);
        FxBitmap* doubledOutput = render_lineDouble(output);
        {
            PluginHost_FXPLUG_Impl host(nullptr, retrieval, doubledInput, doubledOutput,
                                        &renderInfo, nullptr, nullptr, nullptr, nullptr);
            host.setHostVersionNum(_apiManager);
            host.setScratchMemory(scratch);
            Render(&host);
        }
        // Line 1 of the doubled result is kept, whatever the field order.
        render_lineHalf(doubledOutput, output, true);
        doubledInput->release();
        doubledOutput->release();
        renderInfo.field = field;
    }
    if (source != input) source->release();
    output->setIsPremultiplied(YES);
    return YES;
}
