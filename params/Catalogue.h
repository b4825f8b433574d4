#pragma once
#include "params/ParamIds.h"
#include "params/RenderArguments.h"
#include "platform/FxTypes.h"

#include <cstddef>
#include <span>

// One row of the catalogue: everything the host is told about a parameter, and where its value
// lands in RenderArguments.
struct ParamRecord {
    enum class Kind { Group, Popup, Toggle, Float, Int, Angle, Point, Color };
    struct Range {
        double min = 0.0, max = 0.0;
    };

    ParamId id;
    Kind kind;
    char const* label;
    FxParameterFlags flags;
    double value[3] = {};           // default: a number, a menu entry, 0/1, x and y, or r, g and b
    Range limits = {}, slider = {}; // numbers and angles; an angle has no slider
    double delta = 0.0;             // the slider's step
    char const* entries = "";       // a menu's entries, '|' between them
    char const* unit = "";          // what an editor shows after the number
    int index = -1;                 // its number on other host families; -1 where none is used
    double RenderArguments::*number[3] = {}; // fields of a number, angle, point or colour
    int RenderArguments::*whole = nullptr;   // the field of a menu or whole number
    bool RenderArguments::*toggle = nullptr; // the field of a toggle
};

namespace catalogue_detail {

using A = RenderArguments;
using R = ParamRecord::Range;
using K = ParamRecord::Kind;
constexpr FxParameterFlags kNone = kFxParameterFlag_DEFAULT;
constexpr FxParameterFlags kNoKeys = kFxParameterFlag_NOT_ANIMATABLE;
constexpr FxParameterFlags kOff = kFxParameterFlag_DISABLED; // starts greyed out
constexpr FxParameterFlags kClosed = kFxParameterFlag_COLLAPSED;
constexpr FxParameterFlags kDontSave = kFxParameterFlag_DONT_SAVE;
constexpr double kWireframeGrey = 128.0 / 255.0;

// The other host families' number of a parameter read again at each motion-blur sample.
struct Index {
    int value;
};

// One maker a kind, so that a row names only what its kind has.
// clang-format off
constexpr ParamRecord group(ParamId id, char const* label, FxParameterFlags flags) {
    return {.id = id, .kind = K::Group, .label = label, .flags = flags};
}
constexpr ParamRecord popup(ParamId id, char const* label, int def, char const* entries,
                            FxParameterFlags flags, int A::*field) {
    return {.id = id, .kind = K::Popup, .label = label, .flags = flags, .value = {double(def)},
            .entries = entries, .whole = field};
}
constexpr ParamRecord toggle(ParamId id, char const* label, bool def, FxParameterFlags flags,
                             bool A::*field) {
    return {.id = id, .kind = K::Toggle, .label = label, .flags = flags, .value = {double(def)},
            .toggle = field};
}
constexpr ParamRecord number(ParamId id, char const* label, double def, R limits, R slider,
                             double delta, FxParameterFlags flags, double A::*field,
                             Index index = {-1}) {
    return {.id = id, .kind = K::Float, .label = label, .flags = flags, .value = {def},
            .limits = limits, .slider = slider, .delta = delta, .index = index.value,
            .number = {field}};
}
constexpr ParamRecord whole(ParamId id, char const* label, int def, R limits, R slider, int delta,
                            FxParameterFlags flags, int A::*field) {
    return {.id = id, .kind = K::Int, .label = label, .flags = flags, .value = {double(def)},
            .limits = limits, .slider = slider, .delta = double(delta), .whole = field};
}
// Degrees here; the host keeps radians.
constexpr ParamRecord angle(ParamId id, char const* label, double def, R limits,
                            FxParameterFlags flags, double A::*field, Index index) {
    return {.id = id, .kind = K::Angle, .label = label, .flags = flags, .value = {def},
            .limits = limits, .unit = "°", .index = index.value, .number = {field}};
}
constexpr ParamRecord point(ParamId id, char const* label, double x, double y,
                            FxParameterFlags flags, double A::*fx, double A::*fy,
                            Index index = {-1}) {
    return {.id = id, .kind = K::Point, .label = label, .flags = flags, .value = {x, y},
            .index = index.value, .number = {fx, fy}};
}
constexpr ParamRecord color(ParamId id, char const* label, double r, double g, double b,
                            FxParameterFlags flags, double A::*fr, double A::*fg, double A::*fb) {
    return {.id = id, .kind = K::Color, .label = label, .flags = flags, .value = {r, g, b},
            .number = {fr, fg, fb}};
}
constexpr ParamRecord percent(ParamRecord r) { r.unit = "%"; return r; }
constexpr ParamRecord degrees(ParamRecord r) { r.unit = "°"; return r; }

// In declaration order, which is the display order and the order of reading. Each parameter
// stands in the group above it.
inline constexpr ParamRecord kRows[] = {
    group(kGroup3DTransform, "3D Transform", kDontSave),
    popup(kLight, "Light", kBacklit, "Frontlit|Backlit", kDontSave | kNoKeys, &A::light),
    point(kBaselineStart, "Baseline Start", 0.25, 0.75, kDontSave,
          &A::baselineStartX, &A::baselineStartY, Index{4}),
    point(kBaselineEnd, "Baseline End", 0.75, 0.75, kDontSave,
          &A::baselineEndX, &A::baselineEndY, Index{5}),
    point(kHeightSlant, "Height and Slant", 0.5, 1.0, kDontSave,
          &A::heightSlantX, &A::heightSlantY, Index{6}),
    color(kWireframeColor, "Wireframe Color", kWireframeGrey, kWireframeGrey, kWireframeGrey,
          kDontSave, &A::wireframeRed, &A::wireframeGreen, &A::wireframeBlue),

    group(kGroupBend, "Bend", kDontSave),
    toggle(kBend, "Bend", false, kDontSave | kNoKeys, &A::bend),
    angle(kBendAngle, "Bend Angle", 45.0, {0.0, 100.0}, kDontSave | kOff, &A::bendAngle,
          Index{11}),
    percent(number(kBendStart, "Bend Start", 50.0, {0.0, 100.0}, {0.0, 100.0}, 1.0,
                   kDontSave | kClosed | kOff, &A::bendStart, Index{12})),
    number(kBendStretch, "Bend Stretch", 1.0, {0.0, 20.0}, {0.0, 5.0}, 1.0,
           kDontSave | kClosed | kOff, &A::bendStretch, Index{13}),
    popup(kSeamStyle, "Seam Style", 1, "Constant|Linear|Square|Inverse Square", kDontSave | kOff,
          &A::seamStyle),
    popup(kSeamSize, "Seam Size", 1, "None|Small|Medium|Large", kDontSave | kOff, &A::seamSize),
    percent(number(kSeamIntensity, "Seam Intensity", 50.0, {-100.0, 100.0}, {-100.0, 100.0},
                   1.0, kDontSave | kClosed | kOff, &A::seamIntensity, Index{16})),
    color(kSeamColor, "Seam Color", 0.0, 0.0, 0.0, kDontSave | kOff,
          &A::seamRed, &A::seamGreen, &A::seamBlue),

    group(kGroupMirrelStyle, "Mirrel Style", kDontSave),
    number(kSoftness, "Softness", 0.0, {0.0, 1000.0}, {0.0, 100.0}, 1.0, kClosed, &A::softness,
           Index{20}),
    number(kSoftnessAspect, "Softness Aspect", 1.0, {0.0, 5.0}, {0.0, 5.0}, 0.5, kClosed,
           &A::softnessAspect, Index{21}),
    popup(kSoftnessType, "Softness Type", 2,
          "Simple|Mip Map|Progressive Linear|Progressive Square", kDontSave | kNoKeys,
          &A::softnessType),
    number(kFadeStart, "Fade Start", 0.0, {0.0, 100.0}, {0.0, 100.0}, 1.0, kDontSave | kClosed,
           &A::fadeStart, Index{23}),
    number(kFadeLength, "Fade Length", 100.0, {0.0, 500.0}, {0.0, 500.0}, 1.0,
           kDontSave | kClosed, &A::fadeLength, Index{24}),
    popup(kFadeType, "Fade Type", 0, "Linear|Square|Inverse Square", kDontSave | kNoKeys,
          &A::fadeType),

    group(kGroup2DTransform, "2D Transform", kDontSave),
    popup(kQuality, "Quality", 2, "Low|Medium|High", kDontSave | kNoKeys, &A::quality),
    number(kZoom, "Zoom", 1.0, {-1000.0, 1000.0}, {-5.0, 5.0}, 0.5, kDontSave | kClosed,
           &A::zoom, Index{29}),
    point(kTranslate, "Translate", 0.5, 0.5, kDontSave, &A::translateX, &A::translateY),

    group(kGroupMotionBlur, "Motion Blur", kDontSave | kClosed),
    popup(kMotionBlur, "Motion Blur", 0, "Off|On", kDontSave | kNoKeys, &A::motionBlur),
    degrees(number(kShutterAngle, "Shutter Angle", 360.0, {0.0, 720.0}, {0.0, 360.0}, 1.0,
                   kDontSave | kClosed | kOff | kNoKeys, &A::shutterAngle)),
    degrees(number(kShutterPhase, "Shutter Phase", 0.0, {-360.0, 360.0}, {-360.0, 360.0}, 1.0,
                   kDontSave | kClosed | kOff | kNoKeys, &A::shutterPhase)),
    number(kSamples, "Samples", 8.0, {1.0, 64.0}, {1.0, 32.0}, 1.0, kDontSave | kClosed,
           &A::samples),

    group(kGroupBlend, "Blend", kDontSave),
    number(kGamma, "Gamma", 1.0, {0.1, 10.0}, {0.1, 10.0}, 1.0, kClosed, &A::gamma, Index{39}),
    number(kBrightness, "Brightness", 1.0, {0.0, 10.0}, {0.0, 5.0}, 1.0, kClosed, &A::brightness,
           Index{40}),
    whole(kRandomSeed, "Random Seed", 0, {0, 65535}, {0, 65535}, 0,
          kDontSave | kClosed | kNoKeys, &A::randomSeed),
    percent(number(kFadeNoise, "Fade Noise", 0.0, {0.0, 100.0}, {0.0, 100.0}, 1.0,
                   kDontSave | kClosed, &A::fadeNoise, Index{42})),
    number(kPostSoftness, "Post Softness", 1.0, {0.0, 10.0}, {0.0, 10.0}, 0.5, kClosed,
           &A::postSoftness),
    percent(number(kSourceOpacity, "Source Opacity", 100.0, {0.0, 100.0}, {0.0, 100.0}, 1.0,
                   kClosed, &A::sourceOpacity)),
    percent(number(kMirrelOpacity, "Mirrel Opacity", 100.0, {0.0, 100.0}, {0.0, 100.0}, 1.0,
                   kClosed, &A::mirrorOpacity)),
    popup(kTransferMode, "Transfer Mode", kModeBasedOnLight,
          "None|Based on Light|Behind|Normal|Add|Multiply|Screen|Overlay|Soft Light|Hard Light|"
          "Color Dodge|Color Burn|Darken|Lighten|Difference|Exclusion|Hue|Saturation|Color|"
          "Luminosity",
          kNone, &A::transferMode),
};
// clang-format on

} // namespace catalogue_detail

// The parameters, in declaration order.
inline constexpr std::span<ParamRecord const> kCatalogue = catalogue_detail::kRows;

// The row of `id`; null for an id not in the catalogue.
constexpr ParamRecord const* catalogueRow(unsigned id) {
    for (ParamRecord const& row : kCatalogue)
        if (unsigned(row.id) == id) return &row;
    return nullptr;
}

// The number of entries of a menu.
constexpr int entryCount(ParamRecord const& row) {
    int n = 1;
    for (char const* c = row.entries; *c; ++c) n += *c == '|';
    return n;
}

// What the compiler checks of the table, so that a row added or changed wrongly does not build.
namespace catalogue_detail {

// The number of fields of an aggregate: the most initialisers it accepts.
struct AnyField {
    template <class T> constexpr operator T() const;
};
template <class T, class... F> consteval std::size_t fieldCount() {
    if constexpr (requires { T{F{}..., AnyField{}}; })
        return fieldCount<T, F..., AnyField>();
    else
        return sizeof...(F);
}

consteval bool idsAndIndicesAreUnique() {
    for (std::size_t i = 0; i < std::size(kRows); ++i)
        for (std::size_t j = 0; j < i; ++j)
            if (kRows[i].id == kRows[j].id ||
                (kRows[i].index >= 0 && kRows[i].index == kRows[j].index))
                return false;
    return true;
}

// Each field of RenderArguments is filled by one row, and no two rows fill the same field.
consteval bool everyFieldFilledOnce() {
    std::size_t fields = 0;
    for (std::size_t i = 0; i < std::size(kRows); ++i) {
        ParamRecord const& r = kRows[i];
        for (auto member : r.number) fields += member != nullptr;
        fields += r.whole != nullptr;
        fields += r.toggle != nullptr;
        for (std::size_t j = 0; j < i; ++j) {
            ParamRecord const& s = kRows[j];
            for (auto a : r.number)
                for (auto b : s.number)
                    if (a && a == b) return false;
            if ((r.whole && r.whole == s.whole) || (r.toggle && r.toggle == s.toggle)) return false;
        }
    }
    return fields == fieldCount<RenderArguments>();
}

consteval bool defaultsLieWithinLimits() {
    for (ParamRecord const& r : kRows) {
        double const v = r.value[0];
        bool const limited = r.kind == K::Float || r.kind == K::Int || r.kind == K::Angle;
        if (limited && (v < r.limits.min || v > r.limits.max)) return false;
        if (limited && r.kind != K::Angle &&
            (r.slider.min < r.limits.min || r.slider.max > r.limits.max))
            return false;
        if (r.kind == K::Popup && (v < 0 || v >= entryCount(r))) return false;
    }
    return true;
}

static_assert(kRows[0].kind == K::Group, "every parameter stands in a group");
static_assert(idsAndIndicesAreUnique(), "an id or an index stands in two rows");
static_assert(everyFieldFilledOnce(), "a field of RenderArguments is filled by no row, or by two");
static_assert(defaultsLieWithinLimits(), "a default or a slider lies outside its limits");

} // namespace catalogue_detail

// The other host families' number of `id`; -1 where it has none.
constexpr int paramIndex(ParamId id) {
    ParamRecord const* row = catalogueRow(id);
    return row ? row->index : -1;
}
