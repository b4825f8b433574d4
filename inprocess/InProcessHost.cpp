#include "inprocess/InProcessHost.h"

#include "inprocess/ControlCanvas.h"
#include "inprocess/ScratchPool.h"
#include "platform/FxBitmap.h"
#include "platform/GLSelection.h"

#include <cstdlib>
#include <cstring>
#include <set>

// The API manager of this host: the parameter store serves the four parameter protocols, the
// manager itself the on-screen control and application protocols.
class InProcessHost::Manager : public FxAPIManager,
                               public FxHostApplicationAPI,
                               public FxOnScreenControlAPI {
  public:
    Manager(ParameterStore& params, FxHostApplication app, unsigned version)
        : m_params(params), m_app(app), m_version(version) {}

    void* apiForProtocol(FxProtocol protocol) override {
        if (m_withheld.count(protocol)) return nullptr;
        switch (protocol) {
        case FxProtocol::ParameterCreation:
            return static_cast<FxParameterCreationAPI*>(&m_params);
        case FxProtocol::ParameterRetrieval:
            return static_cast<FxParameterRetrievalAPI*>(&m_params);
        case FxProtocol::ParameterSetting:
            return static_cast<FxParameterSettingAPI*>(&m_params);
        case FxProtocol::CustomParameterAction:
            return static_cast<FxCustomParameterActionAPI*>(&m_params);
        case FxProtocol::OnScreenControl:
            return static_cast<FxOnScreenControlAPI*>(this);
        case FxProtocol::HostApplication:
            return static_cast<FxHostApplicationAPI*>(this);
        case FxProtocol::TemporalImage:
            return nullptr; // no images at other times
        case FxProtocol::ScratchMemory:
            return static_cast<FxScratchMemoryAPI*>(&m_scratch);
        }
        return nullptr;
    }
    FxHostApplication application() override { return m_app; }
    unsigned versionNumber() override { return m_version; }
    void withhold(FxProtocol protocol, bool withheld) {
        if (withheld)
            m_withheld.insert(protocol);
        else
            m_withheld.erase(protocol);
    }

  private:
    ParameterStore& m_params;
    FxHostApplication m_app;
    unsigned m_version;
    std::set<FxProtocol> m_withheld;
    ScratchPool m_scratch;
};

namespace {

FxHostApplication applicationOf(InProcessFamily family) {
    switch (family) {
    case InProcessFamily::FinalCutPro:
        return FxHostApplication::FinalCutPro;
    case InProcessFamily::Motion:
        return FxHostApplication::Motion;
    case InProcessFamily::FinalCutExpress:
        return FxHostApplication::FinalCutExpress;
    default:
        return FxHostApplication::Unknown;
    }
}

unsigned defaultVersion(InProcessFamily family) {
    switch (family) {
    case InProcessFamily::FinalCutPro:
        return 6u << 24;
    case InProcessFamily::Motion:
        return 3u << 24;
    case InProcessFamily::FinalCutExpress:
        return 4u << 24;
    default:
        return 0;
    }
}

bool usable(InProcessImage const& image) {
    return image.data && image.width > 0 && image.height > 0 &&
           (image.depth == 8 || image.depth == 16 || image.depth == 32) &&
           std::labs(image.rowBytes) >= long(image.width) * image.pixelBytes();
}

unsigned char* rowOf(InProcessImage const& image, int y) {
    return static_cast<unsigned char*>(image.data) + long(y) * image.rowBytes;
}

// A host bitmap for a picture of the caller's. When the caller's rows already run in the host's
// order (bottom-up on Motion) the bitmap is over the caller's memory; otherwise it has pixels of
// its own, filled from the caller's picture and, for an output, copied back by `finish`.
class HostBitmap {
  public:
    HostBitmap(InProcessImage const& image, bool bottomUp, bool fill)
        : m_image(image), m_bottomUp(bottomUp) {
        FxImageInfo info;
        info.width = unsigned(image.width);
        info.height = unsigned(image.height);
        info.depth = image.depth;
        info.pixelFormat = image.pixelFormat;
        bool native = bottomUp ? image.rowBytes < 0 : image.rowBytes > 0;
        if (native) {
            m_bitmap = FxBitmap::alloc()->initWithInfo_dataPtr_rowBytes(
                info, rowOf(image, bottomUp ? image.height - 1 : 0), std::labs(image.rowBytes));
        } else {
            m_bitmap = FxBitmap::alloc()->initWithInfo(info);
            m_copied = m_bitmap != nullptr;
            if (m_copied && fill)
                for (int y = 0; y < image.height; ++y)
                    std::memcpy(bitmapRow(y), rowOf(image, y), rowLength());
        }
        if (m_bitmap) m_bitmap->setPixelAspect(image.pixelAspect);
    }
    ~HostBitmap() {
        if (m_bitmap) m_bitmap->release();
    }
    HostBitmap(HostBitmap const&) = delete;
    HostBitmap& operator=(HostBitmap const&) = delete;

    FxBitmap* get() const { return m_bitmap; }
    void finish() {
        if (!m_copied) return;
        for (int y = 0; y < m_image.height; ++y)
            std::memcpy(rowOf(m_image, y), bitmapRow(y), rowLength());
    }

  private:
    std::size_t rowLength() const { return std::size_t(m_image.width) * m_image.pixelBytes(); }
    // The bitmap's memory row that holds picture row y.
    unsigned char* bitmapRow(int y) const {
        int r = m_bottomUp ? m_image.height - 1 - y : y;
        return static_cast<unsigned char*>(m_bitmap->dataPtr()) + long(r) * m_bitmap->rowBytes();
    }

    InProcessImage m_image;
    bool m_bottomUp;
    FxBitmap* m_bitmap = nullptr;
    bool m_copied = false;
};

} // namespace

InProcessHost::InProcessHost(InProcessFamily family, unsigned versionNumber)
    : m_family(family),
      m_manager(std::make_unique<Manager>(m_params, applicationOf(family),
                                          versionNumber ? versionNumber : defaultVersion(family))) {
}

InProcessHost::~InProcessHost() = default;

FxAPIManager* InProcessHost::apiManager() {
    return m_manager.get();
}

void InProcessHost::withhold(FxProtocol protocol, bool withheld) {
    m_manager->withhold(protocol, withheld);
}

bool InProcessHost::load(FxPlugBundle const& bundle) {
    if (m_filter || !bundle.allocFilter) return false;
    FxFilter* filter = bundle.allocFilter();
    if (!filter) return false;
    m_filter.reset(filter);
    m_filter->initWithAPIManager(m_manager.get());
    m_properties = m_filter->properties();
    if (!m_filter->addParameters()) {
        m_filter.reset();
        return false;
    }
    if (bundle.allocOverlay) {
        m_overlay.reset(bundle.allocOverlay());
        if (m_overlay) m_overlay->initWithAPIManager(m_manager.get());
    }
    return true;
}

ParameterStore::Param const* InProcessHost::findParameter(std::string const& label) const {
    for (auto const& p : m_params.params())
        if (p.kind != ParameterStore::Kind::Group && p.name == label) return &p;
    return nullptr;
}

bool InProcessHost::setValue(unsigned id, ParameterStore::Value value) {
    if (!m_params.find(id)) return false;
    m_params.setConstant(id, value);
    if (m_filter) m_filter->parameterChanged(id);
    return true;
}

bool InProcessHost::setKey(unsigned id, double frame, ParameterStore::Value value) {
    if (!m_params.find(id)) return false;
    m_params.setKey(id, frame, value);
    if (m_filter) m_filter->parameterChanged(id);
    return true;
}

bool InProcessHost::render(InProcessImage const& input, InProcessImage const& output,
                           InProcessRequest const& request) {
    m_outputPremultiplied = false;
    if (!m_filter || !usable(input) || !usable(output) || input.depth != output.depth ||
        input.pixelFormat != output.pixelFormat)
        return false;
    HostBitmap in(input, yUp(), true);
    HostBitmap out(output, yUp(), true);
    if (!in.get() || !out.get()) return false;

    FxRenderInfo info;
    info.frame = request.frame;
    info.qualityLevel = request.quality;
    info.field = request.field;
    info.scaleX = request.scaleX;
    info.scaleY = request.scaleY;

    // The sequence of a host's frame; the output size is the caller's, whatever the answer.
    unsigned width = 0, height = 0;
    BOOL hardware = NO, software = NO;
    m_filter->getOutputWidth_height_withInput_withInfo(&width, &height, in.get()->imageInfo(),
                                                       info);
    m_filter->frameSetup_inputInfo_hardware_software(info, in.get()->imageInfo(), &hardware,
                                                     &software);
    BOOL done = m_filter->renderOutput_withInput_withInfo(out.get(), in.get(), info);
    m_filter->frameCleanup();
    m_outputPremultiplied = out.get()->isPremultiplied() == YES;
    out.finish();
    return done == YES;
}

int InProcessHost::activePartAt(double x, double y, int width, int height, double time) {
    if (!m_overlay) return 0;
    FxGLSelection selection(float(x * width), float(y * height));
    FxGLScope scope(selection);
    m_overlay->drawOSC_height_activePart_time(width, height, 0, time);
    return int(selection.activePart());
}

bool InProcessHost::mouseDown(double x, double y, int width, int height, double time) {
    if (!m_overlay) return false;
    m_activePart = activePartAt(x, y, width, height, time);
    BOOL force = NO;
    m_overlay->mouseDown_positionY_activePart_modifiers_forceUpdate_time(x, y, m_activePart, 0,
                                                                         &force, time);
    return force == YES;
}

bool InProcessHost::mouseDragged(double x, double y, double time) {
    if (!m_overlay) return false;
    BOOL force = NO;
    m_overlay->mouseDragged_positionY_activePart_modifiers_forceUpdate_time(x, y, m_activePart, 0,
                                                                            &force, time);
    return force == YES;
}

bool InProcessHost::mouseUp(double x, double y, double time) {
    if (!m_overlay) return false;
    BOOL force = NO;
    m_overlay->mouseUp_positionY_activePart_modifiers_forceUpdate_time(x, y, m_activePart, 0,
                                                                       &force, time);
    m_activePart = 0;
    return force == YES;
}

bool InProcessHost::drawControls(InProcessImage const& canvas, double time) {
    return drawControls(canvas, canvas.width, canvas.height, 0, 0, time);
}

bool InProcessHost::drawControls(InProcessImage const& canvas, int width, int height, int originX,
                                 int originY, double time) {
    if (!m_overlay || !usable(canvas) || canvas.depth != 8 ||
        (canvas.pixelFormat != kFxPixelFormat_RGBA && canvas.pixelFormat != kFxPixelFormat_ARGB))
        return false;
    ControlCanvas context(canvas, yUp(), height, originX, originY);
    FxGLScope scope(context);
    m_overlay->drawOSC_height_activePart_time(width, height, 0, time);
    return true;
}
