#include "params/ParamsChangeRules.h"

#include "params/ParamIds.h"
#include "params/PluginUpdate_Impl.h"

#include <initializer_list>

void ParamsChangeRules(PluginUpdate_Impl& update, unsigned long id) {
    if (id == kTransferMode) {
        unsigned mode = 0;
        update.GetUIntValue(kTransferMode, mode);
        update.setEnableLayout(kSourceOpacity, mode != kModeNone);
    } else if (id == kMotionBlur) {
        unsigned blur = 0;
        update.GetUIntValue(kMotionBlur, blur);
        for (int governed : {kShutterAngle, kShutterPhase, kSamples})
            update.setEnableLayout(governed, blur != kMotionBlurOff);
    } else if (id == kBend) {
        bool bend = false;
        update.GetBoolValue(kBend, bend);
        for (int governed : {kBendAngle, kBendStart, kBendStretch, kSeamStyle, kSeamSize,
                             kSeamIntensity, kSeamColor})
            update.setEnableLayout(governed, bend);
    }
}
