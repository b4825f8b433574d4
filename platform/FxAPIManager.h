#pragma once
#include "platform/FxParameterAPI.h"

#include <cstddef>

// The protocols by which a plug-in asks its host for API objects.
enum class FxProtocol {
    ParameterCreation,     // FxParameterCreationAPI
    ParameterRetrieval,    // FxParameterRetrievalAPI
    ParameterSetting,      // FxParameterSettingAPI
    CustomParameterAction, // FxCustomParameterActionAPI
    OnScreenControl,       // FxOnScreenControlAPI
    HostApplication,       // FxHostApplicationAPI, read by FxHostCapabilities
    TemporalImage,         // FxTemporalImageAPI
    ScratchMemory,         // FxScratchMemoryAPI
};

// The on-screen control interface of the host. Plug-ins only test that it is there.
class FxOnScreenControlAPI {
  public:
    virtual ~FxOnScreenControlAPI() = default;
};

// Input images at other times than the frame being rendered.
class FxTemporalImageAPI {
  public:
    virtual ~FxTemporalImageAPI() = default;
    // A new bitmap, which the caller ends with dealloc; null when there is none.
    virtual BOOL getInputBitmap_withInfo_atTime(FxBitmap** bitmap, FxRenderInfo info,
                                                double time) = 0;
};

// Working memory that the host lends a plug-in during a render. A host may keep blocks between
// renders, so their contents are undefined when lent.
class FxScratchMemoryAPI {
  public:
    virtual ~FxScratchMemoryAPI() = default;
    // A block of at least `size` bytes, or null.
    virtual void* allocateBlock(std::size_t size) = 0;
    // Gives back a block from allocateBlock; null does nothing.
    virtual void releaseBlock(void* block) = 0;
};

enum class FxHostApplication { Unknown, FinalCutPro, Motion, FinalCutExpress };

// What the running application says about itself; FxHostCapabilities answers from it.
class FxHostApplicationAPI {
  public:
    virtual ~FxHostApplicationAPI() = default;
    virtual FxHostApplication application() = 0;
    // Major version in bits 24 to 27, minor in bits 20 to 23; 0 when unknown.
    virtual unsigned versionNumber() = 0;
};

template <class API> struct FxProtocolOf;
template <> struct FxProtocolOf<FxParameterCreationAPI> {
    static constexpr FxProtocol value = FxProtocol::ParameterCreation;
};
template <> struct FxProtocolOf<FxParameterRetrievalAPI> {
    static constexpr FxProtocol value = FxProtocol::ParameterRetrieval;
};
template <> struct FxProtocolOf<FxParameterSettingAPI> {
    static constexpr FxProtocol value = FxProtocol::ParameterSetting;
};
template <> struct FxProtocolOf<FxCustomParameterActionAPI> {
    static constexpr FxProtocol value = FxProtocol::CustomParameterAction;
};
template <> struct FxProtocolOf<FxOnScreenControlAPI> {
    static constexpr FxProtocol value = FxProtocol::OnScreenControl;
};
template <> struct FxProtocolOf<FxTemporalImageAPI> {
    static constexpr FxProtocol value = FxProtocol::TemporalImage;
};
template <> struct FxProtocolOf<FxScratchMemoryAPI> {
    static constexpr FxProtocol value = FxProtocol::ScratchMemory;
};
template <> struct FxProtocolOf<FxHostApplicationAPI> {
    static constexpr FxProtocol value = FxProtocol::HostApplication;
};

// The host's API manager, handed to every plug-in object at initialisation. Any API object may
// be missing: the answer is then null.
class FxAPIManager {
  public:
    virtual ~FxAPIManager() = default;
    // The object conforming to `protocol`, as the protocol's class, or null.
    virtual void* apiForProtocol(FxProtocol protocol) = 0;

    template <class API> API* apiForProtocol() {
        return static_cast<API*>(apiForProtocol(FxProtocolOf<API>::value));
    }
};
