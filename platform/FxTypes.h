#pragma once
#include <cstdint>

// Basic types of the host platform as the binding sees them.
using BOOL = signed char; // a Boolean comes back as one byte; only 1 means true
constexpr BOOL YES = 1;
constexpr BOOL NO = 0;

using FxParameterFlags = unsigned int;
constexpr FxParameterFlags kFxParameterFlag_DEFAULT = 0;
constexpr FxParameterFlags kFxParameterFlag_NOT_ANIMATABLE = 1;
constexpr FxParameterFlags kFxParameterFlag_DISABLED = 4;
constexpr FxParameterFlags kFxParameterFlag_COLLAPSED = 8; // on a group: starts closed
constexpr FxParameterFlags kFxParameterFlag_DONT_SAVE = 32;

// The request record of a render, by value.
struct FxRenderInfo {
    double frame = 0.0;
    uint32_t qualityLevel = 2;
    uint32_t field = 0;
    double scaleX = 1.0;
    double scaleY = 1.0;
    void* sharedContext = nullptr;
    uint32_t reserved = 0;
};

// The record of an image, by value.
struct FxImageInfo {
    uint32_t width = 0;
    uint32_t height = 0;
    uint32_t depth = 8; // bits a channel: 8, 16 or 32
    uint32_t reserved0 = 0;
    uint32_t reserved1 = 0;
    uint32_t reserved2 = 0;
    uint32_t pixelFormat = 0; // 0 RGBA, 2 ARGB, 4 R408, 5 R4fl
    char reserved3 = 0;
    double reserved4 = 0.0;
};

enum FxPixelFormat : uint32_t {
    kFxPixelFormat_RGBA = 0,
    kFxPixelFormat_ARGB = 2,
    kFxPixelFormat_R408 = 4,
    kFxPixelFormat_R4fl = 5,
};
