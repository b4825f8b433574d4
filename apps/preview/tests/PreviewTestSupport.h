#pragma once
#include "apps/cli/ImageFile.h"
#include "apps/common/PictureAlpha.h"
#include "apps/preview/PreviewServer.h"
#include "apps/preview/PreviewSession.h"
#include "apps/tests/CommandTestSupport.h"

#include <OpenImageIO/filesystem.h>
#include <OpenImageIO/imageio.h>
#include <gtest/gtest.h>
#include <httplib.h>
#include <nlohmann/json.hpp>

#include <filesystem>
#include <memory>
#include <string>
#include <unistd.h>

using nlohmann::json;

// A picture with structure above the floor line, written as an 8-bit PNG; `shade` tells the
// frames of a sequence apart.
inline std::string writeSample(std::string const& path, int w = 160, int h = 120, int shade = 0) {
    Picture p(w, h, 8);
    for (size_t i = 0; i < p.pixelCount(); ++i) {
        int x = int(i) % w, y = int(i) / w;
        double rgba[4] = {double(x) / (w - 1), double(y) / (h - 1),
                          ((x / 8 + y / 8 + shade) % 2) ? 0.9 : 0.2, 1.0};
        for (int c = 0; c < 4; ++c) p.setChannel(i, c, rgba[c]);
    }
    writeImage(path, p, {4, true, true, 8, false});
    return path;
}

// The pixels of a PNG held in memory, straight, R G B A (opaque when the file has no alpha).
inline Picture decodePng(std::string const& bytes) {
    OIIO::Filesystem::IOMemReader memory(bytes.data(), bytes.size());
    auto in = OIIO::ImageInput::open("frame.png", nullptr, &memory);
    if (!in || in->spec().nchannels < 3) return {};
    int n = in->spec().nchannels;
    std::vector<unsigned char> raw(size_t(in->spec().image_pixels()) * size_t(n));
    if (!in->read_image(0, 0, 0, n, OIIO::TypeDesc::UINT8, raw.data())) return {};
    Picture p(in->spec().width, in->spec().height, 8);
    for (size_t i = 0; i < p.pixelCount(); ++i)
        for (int c = 0; c < 4; ++c)
            p.bytes[i * 4 + size_t(c)] = c < n ? raw[i * size_t(n) + size_t(c)] : 255;
    return p;
}

inline Picture straightPixels(std::string const& file) {
    Picture p = readImage(file, 8).picture;
    unpremultiplyPicture(p);
    return p;
}

// A session served on a free port of 127.0.0.1, with a client for it.
struct Served {
    PreviewSession session;
    PreviewServer server{session};
    std::unique_ptr<httplib::Client> client;
    std::string address;
    int port = 0;

    explicit Served(std::string const& input, std::string const& save = {})
        : session(input,
                  {[](std::string const& f) { return readImage(f, 0).picture; }, resizePicture},
                  save) {
        port = server.bind(0);
        server.start();
        client = std::make_unique<httplib::Client>("127.0.0.1", port);
        client->set_default_headers({{"X-Mirrel-Token", server.token()}});
        address = server.address();
    }

    // Status and JSON answer of a POST of `body` as it stands.
    std::pair<int, json> post(std::string const& path, std::string const& body) {
        auto r = client->Post(path.c_str(), body, "application/json");
        if (!r) return {0, json()};
        return {r->status, json::parse(r->body, nullptr, false)};
    }
    std::pair<int, json> post(std::string const& path, char const* body) {
        return post(path, std::string(body));
    }
    std::pair<int, json> post(std::string const& path, json const& body) {
        return post(path, body.dump());
    }
    json get(std::string const& path) {
        auto r = client->Get(path.c_str());
        return r && r->status == 200 ? json::parse(r->body) : json();
    }
    std::string bytes(std::string const& path) {
        auto r = client->Get(path.c_str());
        return r && r->status == 200 ? r->body : std::string();
    }
    json state() { return get("/api/state"); }
};

// Every parameter's value in a state, by label.
inline std::map<std::string, json> valuesOf(json const& state) {
    std::map<std::string, json> values;
    for (auto const& g : state["groups"])
        for (auto const& p : g["params"]) values[p["label"]] = p["value"];
    return values;
}

inline json paramOf(json const& state, std::string const& label) {
    for (auto const& g : state["groups"])
        for (auto const& p : g["params"])
            if (p["label"] == label) return p;
    return {};
}
