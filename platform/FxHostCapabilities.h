#pragma once
#include "platform/FxTypes.h"
#include "platform/NSObject.h"

class FxAPIManager;
class FxHostApplicationAPI;

// The system class that tells a plug-in which application hosts it. Found by name
// (NSClassFromString("FxHostCapabilities")); a host that does not describe itself answers NO to
// every question and 0 for the version.
class FxHostCapabilities : public NSObject {
  public:
    FxHostCapabilities* initWithAPIManager(FxAPIManager* manager);
    BOOL hostIsFCP();
    BOOL hostIsMotion();
    BOOL hostIsFCE();
    int hostVersionNumber();

  private:
    FxHostApplicationAPI* m_app = nullptr;
};
