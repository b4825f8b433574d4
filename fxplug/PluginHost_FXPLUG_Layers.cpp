#include "fxplug/HostIndex.h"
#include "fxplug/PluginHost_FXPLUG_Impl.h"
#include "platform/FxAPIManager.h"
#include "platform/FxBitmap.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace {

// A bitmap of one field is within 6 lines of the frame's height, either way.
bool nearInHeight(int height, int reference) {
    int d = height - reference;
    return d >= -6 && d <= 6;
}

double wholeFrame(double frame) {
    double t = std::floor(frame);
    return t < 0.0 ? 0.0 : t;
}

} // namespace

void PluginHost_FXPLUG_Impl::weaveInto(FxBitmap* bitmap, PluginRaster_API* scratch, int firstRow,
                                       int rowStep) {
    PluginRaster_FXPLUG_Impl source(bitmap, nullptr);
    RasterInfo s, d;
    getRasterInfo(&source, &s);
    getRasterInfo(scratch, &d);
    copy(&s, &d, firstRow, rowStep);
}

PluginRaster_API* PluginHost_FXPLUG_Impl::checkoutLayer(int index, int parmId) {
    return checkoutLayer(index, getFrame(), parmId);
}

PluginRaster_API* PluginHost_FXPLUG_Impl::checkoutLayer(int, double frame, int parmId) {
    if (!m_retrieval || !m_renderInfo) return nullptr;
    double time = wholeFrame(frame);
    auto fetch = [&](double t) {
        FxBitmap* bitmap = nullptr;
        double offsetX = 0, offsetY = 0;
        m_retrieval->getBitmap_layerOffsetX_layerOffsetY_requestInfo_fromParm_atTime(
            &bitmap, &offsetX, &offsetY, *m_renderInfo, unsigned(parmId), t);
        return bitmap;
    };
    FxBitmap* bitmap = fetch(time);
    if (!bitmap) return nullptr;

    int width = int(bitmap->width()), height = int(bitmap->height());
    bool weave = !(nearInHeight(height, getOutputHeight()) || height > getOutputHeight() ||
                   width != getOutputWidth());
    int error = 0;
    PluginRaster_FXPLUG_Impl probe(bitmap, nullptr);
    PluginRaster_API* scratch =
        allocRaster(width, weave ? height * 2 : height, probe.getPixelType(), error, 0);
    weaveInto(bitmap, scratch, weave ? 1 : 0, weave ? 2 : 1);
    if (weave) {
        bitmap->dealloc();
        bitmap = fetch(time + 0.5);
        if (!bitmap) {
            deallocRaster(scratch);
            delete scratch;
            return nullptr;
        }
        weaveInto(bitmap, scratch, 0, 2);
    }
    bitmap->dealloc();
    return scratch;
}

int PluginHost_FXPLUG_Impl::checkinLayer(PluginRaster_API* raster) {
    deallocRaster(raster);
    delete raster;
    return 1;
}

PluginRaster_API* PluginHost_FXPLUG_Impl::lockTemporalRaster(double frame, bool weaveFields,
                                                             bool upperFirst) {
    if (!m_temporalSource || !m_renderInfo) return nullptr;
    double time = wholeFrame(frame);
    auto fetch = [&](double t) {
        FxBitmap* bitmap = nullptr;
        m_temporalSource->getInputBitmap_withInfo_atTime(&bitmap, *m_renderInfo, t);
        return bitmap;
    };
    FxBitmap* bitmap = fetch(time);
    if (!bitmap) return nullptr;

    int width = int(bitmap->width()), height = int(bitmap->height());
    bool weave = weaveFields && !nearInHeight(height, getOutputHeight());
    bool resample = hostIndex() == kHostMotion && m_renderInfo->scaleX < 0.99 && m_input;
    int error = 0;
    PluginRaster_FXPLUG_Impl probe(bitmap, nullptr);
    PluginRaster_API* scratch = nullptr;
    if (resample) {
        // Motion hands proxies of other times at full size: bring them to the input's size.
        int dw = int(m_input->width()), dh = int(m_input->height());
        scratch = allocRaster(dw, dh, probe.getPixelType(), error, 0);
        RasterInfo s, d;
        getRasterInfo(&probe, &s);
        getRasterInfo(scratch, &d);
        float rx = float(s.width) / float(dw), ry = float(s.height) / float(dh);
        for (int y = 0; y < dh; ++y) {
            int sy = std::min(int(float(y) * ry), s.height - 1);
            for (int x = 0; x < dw; ++x) {
                int sx = std::min(int(float(x) * rx), s.width - 1);
                std::memcpy(d.row(y) + std::ptrdiff_t(x) * d.pixelBytes,
                            s.row(sy) + std::ptrdiff_t(sx) * d.pixelBytes,
                            std::size_t(d.pixelBytes));
            }
        }
    } else {
        scratch = allocRaster(width, weave ? height * 2 : height, probe.getPixelType(), error, 0);
        weaveInto(bitmap, scratch, weave ? (upperFirst ? 1 : 0) : 0, weave ? 2 : 1);
        if (weave) {
            bitmap->dealloc();
            bitmap = fetch(time + 0.5);
            if (!bitmap) {
                deallocRaster(scratch);
                delete scratch;
                return nullptr;
            }
            weaveInto(bitmap, scratch, upperFirst ? 0 : 1, 2);
        }
    }
    bitmap->dealloc();
    return scratch;
}

int PluginHost_FXPLUG_Impl::unlockTemporalRaster(PluginRaster_API* raster) {
    deallocRaster(raster);
    delete raster;
    return 0;
}
