// The frei0r filter: Mirrel inside ffmpeg, MLT and other frei0r hosts. Each instance loads the
// plug-in into its own in-process host, exactly as the mirrel command does, so both give the
// same pixels for the same picture and values.
#include "apps/common/EffectSession.h"
#include "apps/common/PictureAlpha.h"
#include "apps/frei0r/Frei0rMapping.h"

// The frei0r header declares a C interface without saying so.
extern "C" {
#include <frei0r.h>
}

#include <cmath>
#include <cstring>
#include <memory>
#include <mutex>

namespace {

// The catalogue as the plug-in declares it, read once when the frei0r host loads the library.
struct Catalogue {
    EffectSession session;
    std::vector<Frei0rParam> params = frei0rParams(session.params());
};
std::unique_ptr<Catalogue> g_catalogue;

// A loaded effect with the values it last applied.
struct Worker {
    EffectSession session;
    unsigned version = 0;
    Picture input, result;
};

// Hosts such as MLT render frames of one instance on several threads at once: each render takes
// an idle worker (or makes one), so no two threads share an in-process host; the values and the
// idle workers are shared under the lock.
struct Instance {
    int width, height;
    std::mutex lock;
    std::vector<UserValue> values; // by catalogue position, in the user's units
    unsigned version = 1;          // counts changes of the values
    std::vector<std::unique_ptr<Worker>> idle;
    double updates = 0; // frames begun, the time of a frame without a usable host time

    Instance(int w, int h) : width(w), height(h) {
        for (Param const& p : g_catalogue->session.params()) values.push_back(userDefault(p));
    }

    // A point's two frei0r parameters share one value.
    UserValue& valueOf(Frei0rParam const& f) {
        return values[size_t(f.param - g_catalogue->session.params().data())];
    }
};

bool validIndex(int index) {
    return g_catalogue && index >= 0 && size_t(index) < g_catalogue->params.size();
}

// The frei0r value, read as doubles whatever its type.
void readParam(int type, void const* param, double* v) {
    if (type == F0R_PARAM_COLOR) {
        auto const* c = static_cast<f0r_param_color_t const*>(param);
        v[0] = c->r, v[1] = c->g, v[2] = c->b;
    } else {
        v[0] = *static_cast<double const*>(param);
    }
}

void writeParam(int type, double const* v, void* param) {
    if (type == F0R_PARAM_COLOR) {
        auto* c = static_cast<f0r_param_color_t*>(param);
        c->r = float(v[0]), c->g = float(v[1]), c->b = float(v[2]);
    } else {
        *static_cast<double*>(param) = v[0];
    }
}

// The host's time when the effect can take it (in its ticks of 1/100 frame, an int); ffmpeg
// passes about -3.7e20 for a stream without timestamps, and then the frames are counted.
double frameTime(double time, double updates) {
    return std::fabs(time) <= 2147483647.0 / 100 ? time : updates;
}

} // namespace

extern "C" {

int f0r_init() {
    try {
        if (!g_catalogue) g_catalogue = std::make_unique<Catalogue>();
        return 1;
    } catch (...) {
        return 0;
    }
}

void f0r_deinit() {
    g_catalogue.reset();
}

void f0r_get_plugin_info(f0r_plugin_info_t* info) {
    info->name = kFrei0rName;
    info->author = kFrei0rAuthor;
    info->plugin_type = F0R_PLUGIN_TYPE_FILTER;
    info->color_model = F0R_COLOR_MODEL_RGBA8888;
    info->frei0r_version = FREI0R_MAJOR_VERSION;
    info->major_version = 0;
    info->minor_version = 1;
    info->num_params = g_catalogue ? int(g_catalogue->params.size()) : 0;
    info->explanation = kFrei0rExplanation;
}

void f0r_get_param_info(f0r_param_info_t* info, int index) {
    if (!validIndex(index)) return;
    Frei0rParam const& p = g_catalogue->params[size_t(index)];
    info->name = p.name.c_str();
    info->type = p.type;
    info->explanation = p.explanation.c_str();
}

f0r_instance_t f0r_construct(unsigned width, unsigned height) {
    if (!g_catalogue || width == 0 || height == 0) return nullptr;
    try {
        return new Instance(int(width), int(height));
    } catch (...) {
        return nullptr;
    }
}

void f0r_destruct(f0r_instance_t instance) {
    delete static_cast<Instance*>(instance);
}

void f0r_set_param_value(f0r_instance_t instance, f0r_param_t param, int index) {
    if (!instance || !param || !validIndex(index)) return;
    auto* self = static_cast<Instance*>(instance);
    Frei0rParam const& p = g_catalogue->params[size_t(index)];
    double v[3] = {0, 0, 0};
    readParam(p.type, param, v);
    std::lock_guard guard(self->lock);
    setFromFrei0r(p, v, self->valueOf(p));
    ++self->version;
}

void f0r_get_param_value(f0r_instance_t instance, f0r_param_t param, int index) {
    if (!instance || !param || !validIndex(index)) return;
    auto* self = static_cast<Instance*>(instance);
    Frei0rParam const& p = g_catalogue->params[size_t(index)];
    double v[3] = {0, 0, 0};
    {
        std::lock_guard guard(self->lock);
        frei0rFromUserValue(p, self->valueOf(p), v);
    }
    writeParam(p.type, v, param);
}

void f0r_update(f0r_instance_t instance, double time, uint32_t const* inframe, uint32_t* outframe) {
    auto* self = static_cast<Instance*>(instance);
    size_t bytes = size_t(self->width) * size_t(self->height) * 4;
    try {
        std::unique_ptr<Worker> worker;
        std::vector<UserValue> values;
        unsigned version;
        double frame;
        {
            std::lock_guard guard(self->lock);
            frame = frameTime(time, self->updates++);
            if (!self->idle.empty()) {
                worker = std::move(self->idle.back());
                self->idle.pop_back();
            }
            version = self->version;
            if (!worker || worker->version != version) values = self->values;
        }
        if (!worker) worker = std::make_unique<Worker>();
        if (worker->version != version) {
            // The worker's session holds the same parameters in the same order.
            std::vector<Setting> settings;
            auto const& params = worker->session.params();
            for (size_t k = 0; k < params.size(); ++k)
                if (params[k].kind != ParamKind::Group)
                    settings.push_back({&params[k], false, 0.0, values[k]});
            worker->session.apply(settings);
            worker->version = version;
        }
        auto const* in = reinterpret_cast<uint8_t const*>(inframe);
        auto* out = reinterpret_cast<uint8_t*>(outframe);
        size_t const pixels = bytes / 4;
        // An opaque frame is its own premultiplied form and is read where the host keeps it;
        // otherwise the worker's pictures, which keep their memory from frame to frame.
        uint8_t const* premultiplied = in;
        if (!opaque8(in, pixels)) {
            Picture& picture = worker->input;
            if (picture.bytes.size() != bytes) picture = Picture(self->width, self->height, 8);
            premultiplyPicture8(in, picture);
            premultiplied = picture.bytes.data();
        }
        FrameRequest const request{frame, 0, 1.0, false};
        auto const inAt = reinterpret_cast<uintptr_t>(in), outAt = reinterpret_cast<uintptr_t>(out);
        if (inAt + bytes <= outAt || outAt + bytes <= inAt) {
            // The effect draws into the host's frame, which then turns straight in place.
            worker->session.render8(premultiplied, out, self->width, self->height, request);
            unpremultiply8(out, out, pixels);
        } else {
            Picture& result = worker->result;
            if (result.bytes.size() != bytes) result = Picture(self->width, self->height, 8);
            worker->session.render8(premultiplied, result.bytes.data(), self->width, self->height,
                                    request);
            unpremultiplyPicture8(result, out);
        }
        std::lock_guard guard(self->lock);
        self->idle.push_back(std::move(worker));
    } catch (...) {
        // A frame that cannot be rendered passes through unchanged.
        std::memcpy(outframe, inframe, bytes);
    }
}

void f0r_update2(f0r_instance_t instance, double time, uint32_t const* inframe1, uint32_t const*,
                 uint32_t const*, uint32_t* outframe) {
    f0r_update(instance, time, inframe1, outframe);
}

} // extern "C"
