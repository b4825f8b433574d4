#include "fxplug/HostIndex.h"

#include "platform/FxHostCapabilities.h"
#include "platform/Process.h"

#include <cstring>

unsigned g_hostIndex = kHostFinalCutPro;

unsigned GetHostIndex(FxAPIManager* manager) {
    FxHostCapabilities* caps = nullptr;
    if (NSClass const* cls = NSClassFromString("FxHostCapabilities"))
        if (auto* object = dynamic_cast<FxHostCapabilities*>(cls->alloc()))
            caps = object->initWithAPIManager(manager);
    unsigned index = 3;
    if (caps) {
        if (caps->hostIsFCP())
            index = kHostFinalCutPro;
        else if (caps->hostIsMotion())
            index = kHostMotion;
        else if (caps->hostIsFCE())
            index = kHostFinalCutExpress;
        caps->release();
    }
    if (index != 3) return index;

    // Hosts that do not describe themselves are known by their process name.
    ProcessSerialNumber psn;
    CFStringRef name = nullptr;
    char text[256];
    bool named = GetCurrentProcess(&psn) == noErr && CopyProcessName(&psn, &name) == noErr &&
                 CFStringGetCString(name, text, sizeof text, kCFStringEncodingASCII);
    if (name) CFRelease(name);
    if (named) {
        if (std::strstr(text, "Motion")) return kHostMotion;
        if (std::strstr(text, "Final Cut Pro")) return kHostFinalCutPro;
        if (std::strstr(text, "Final Cut Express")) return kHostFinalCutExpress;
    }
    NSRunAlertPanel("Host Error", "Unable to figure out your host.  Assuming Final Cut Pro.", "OK",
                    nullptr, nullptr);
    return kHostFinalCutPro;
}
