#include "platform/FxHostCapabilities.h"

#include "platform/FxAPIManager.h"

FxHostCapabilities* FxHostCapabilities::initWithAPIManager(FxAPIManager* manager) {
    m_app = manager ? manager->apiForProtocol<FxHostApplicationAPI>() : nullptr;
    return this;
}

BOOL FxHostCapabilities::hostIsFCP() {
    return m_app && m_app->application() == FxHostApplication::FinalCutPro ? YES : NO;
}

BOOL FxHostCapabilities::hostIsMotion() {
    return m_app && m_app->application() == FxHostApplication::Motion ? YES : NO;
}

BOOL FxHostCapabilities::hostIsFCE() {
    return m_app && m_app->application() == FxHostApplication::FinalCutExpress ? YES : NO;
}

int FxHostCapabilities::hostVersionNumber() {
    return m_app ? int(m_app->versionNumber()) : 0;
}
