#pragma once
#include "CommandTestSupport.h"
#include "apps/frei0r/Frei0rMapping.h"

extern "C" {
#include <frei0r.h>
}
#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <sys/wait.h>

inline int shell(std::string const& command) {
    int raw = std::system(command.c_str());
    return WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
}

// The plug-in loaded as a host loads it, closed again at the end.
struct Module {
    void* handle = dlopen(MIRREL_FREI0R_MODULE, RTLD_NOW | RTLD_LOCAL);
    template <class F> F* sym(char const* name) {
        return reinterpret_cast<F*>(dlsym(handle, name));
    }
    ~Module() {
        if (handle) dlclose(handle);
    }
};

// The entry points a host calls to make instances and render with them.
struct Frei0rCalls {
    int (*init)();
    void (*deinit)();
    f0r_instance_t (*construct)(unsigned, unsigned);
    void (*destruct)(f0r_instance_t);
    void (*set)(f0r_instance_t, f0r_param_t, int);
    void (*update)(f0r_instance_t, double, uint32_t const*, uint32_t*);

    explicit Frei0rCalls(Module& m)
        : init(m.sym<int()>("f0r_init")), deinit(m.sym<void()>("f0r_deinit")),
          construct(m.sym<f0r_instance_t(unsigned, unsigned)>("f0r_construct")),
          destruct(m.sym<void(f0r_instance_t)>("f0r_destruct")),
          set(m.sym<void(f0r_instance_t, f0r_param_t, int)>("f0r_set_param_value")),
          update(m.sym<void(f0r_instance_t, double, uint32_t const*, uint32_t*)>("f0r_update")) {}
    bool found() const { return init && deinit && construct && destruct && set && update; }
};

// The plug-in loaded and initialised as a host does it, deinitialised after the test.
class Frei0rPlugin : public ::testing::Test {
  protected:
    Module module;
    Frei0rCalls f0r{module};
    void SetUp() override {
        ASSERT_NE(module.handle, nullptr) << dlerror();
        ASSERT_TRUE(f0r.found());
        ASSERT_EQ(f0r.init(), 1);
    }
    void TearDown() override {
        if (f0r.deinit) f0r.deinit();
    }
};

inline Frei0rParam const& byName(std::vector<Frei0rParam> const& params, std::string const& name) {
    for (Frei0rParam const& f : params)
        if (f.name == name) return f;
    throw std::runtime_error("no frei0r parameter " + name);
}

// The command's --set option for a value exactly as the plug-in holds it.
inline std::string setOption(Param const& p, UserValue const& u) {
    int n = p.kind == ParamKind::Point ? 2 : p.kind == ParamKind::Color ? 3 : 1;
    std::string text;
    for (int c = 0; c < n; ++c) {
        char number[32];
        std::snprintf(number, sizeof number, "%.17g", u[size_t(c)]);
        text += (c ? "," : "") + std::string(number);
    }
    return " --set '" + p.name + "=" + text + "'";
}

// A generated three-frame clip with texture and half-transparent parts, as in.1.png to in.3.png
// in the scratch folder; answers the folder's name ending in a slash.
inline std::string writeClip(Scratch const& s, std::string const& ffmpeg) {
    std::string d = s.dir.string() + "/";
    if (shell(ffmpeg +
              " -v error -f lavfi -i \"testsrc2=size=96x64:rate=25,format=rgba,"
              "geq=r='r(X,Y)':g='g(X,Y)':b='b(X,Y)':a='if(lt(X,24),128,255)'\" "
              "-frames:v 3 " +
              d + "in.%d.png") != 0)
        throw std::runtime_error("ffmpeg could not make the clip");
    return d;
}

// Frame N (1 to 3) of every run, RUN.N.png in the scratch folder, equals `mirrel render` of
// in.N.png with args(N), and shows the mirror.
inline void expectRunsEqualTheCommand(Scratch const& s, std::vector<std::string> const& runs,
                                      std::function<std::string(int)> const& args) {
    for (int f = 1; f <= 3; ++f) {
        std::string n = std::to_string(f) + ".png";
        ASSERT_EQ(shell(MIRREL_BINARY " render " + s("in." + n) + " -o " + s("cli." + n) + args(f)),
                  0);
        auto const cli = s.pixels("cli." + n);
        EXPECT_NE(cli, s.pixels("in." + n));
        for (std::string const& run : runs)
            EXPECT_EQ(s.pixels(run + "." + n), cli) << run << " frame " << f;
    }
}
