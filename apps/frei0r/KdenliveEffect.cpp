#include "apps/frei0r/KdenliveEffect.h"

#include <frei0r.h>
#include <libxml/tree.h>

#include <cmath>
#include <cstdio>
#include <memory>
#include <stdexcept>

namespace {

using Doc = std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)>;

xmlChar const* x(char const* s) {
    return reinterpret_cast<xmlChar const*>(s);
}

void attr(xmlNodePtr node, char const* name, std::string const& value) {
    xmlSetProp(node, x(name), x(value.c_str()));
}

void child(xmlNodePtr node, char const* name, std::string const& text) {
    // xmlNewTextChild escapes the text; xmlNewChild would take it as markup.
    xmlNewTextChild(node, nullptr, x(name), x(text.c_str()));
}

std::string hexColor(UserValue const& c) {
    char text[8];
    std::snprintf(text, sizeof text, "#%02x%02x%02x", int(std::lround(c[0] * 255)),
                  int(std::lround(c[1] * 255)), int(std::lround(c[2] * 255)));
    return text;
}

void describe(xmlNodePtr node, Frei0rParam const& f) {
    Param const& p = *f.param;
    UserValue d = userDefault(p);
    attr(node, "name", f.name);
    switch (p.kind) {
    case ParamKind::Toggle:
        attr(node, "type", "bool");
        attr(node, "default", d[0] != 0 ? "1" : "0");
        break;
    case ParamKind::Color:
        attr(node, "type", "color");
        attr(node, "default", hexColor(d));
        break;
    case ParamKind::Popup: {
        std::string values, labels;
        for (size_t k = 0; k < p.entries.size(); ++k) {
            double v[3];
            frei0rFromUserValue(f, {double(k), 0, 0}, v);
            values += (k ? ";" : "") + formatNumber(v[0]);
            labels += (k ? "," : "") + p.entries[k];
            if (double(k) == d[0]) attr(node, "default", formatNumber(v[0]));
        }
        attr(node, "type", "list");
        attr(node, "paramlist", values);
        child(node, "paramlistdisplay", labels);
        break;
    }
    case ParamKind::Point:
        // Percent of the frame; points may stand outside it.
        attr(node, "type", "animated");
        attr(node, "default", formatNumber(d[size_t(f.coordinate)] * 100));
        attr(node, "min", "-100");
        attr(node, "max", "200");
        attr(node, "factor", "100");
        attr(node, "decimals", "1");
        attr(node, "suffix", "%");
        break;
    default: {
        Limits s = frei0rSpan(p);
        bool whole = p.kind == ParamKind::Int;
        attr(node, "type", whole ? "constant" : "animated");
        attr(node, "default", formatNumber(d[0]));
        attr(node, "min", formatNumber(s.min));
        attr(node, "max", formatNumber(s.max));
        attr(node, "factor", formatNumber(s.max - s.min));
        attr(node, "offset", formatNumber(s.min));
        attr(node, "decimals", whole ? "0" : "3");
        if (p.kind == ParamKind::Angle) attr(node, "suffix", "°");
    }
    }
    child(node, "name", f.name);
}

} // namespace

std::string kdenliveEffectXml(std::vector<Frei0rParam> const& params) {
    Doc doc(xmlNewDoc(x("1.0")), xmlFreeDoc);
    if (!doc) throw std::bad_alloc();
    xmlNodePtr effect = xmlNewDocNode(doc.get(), nullptr, x("effect"), nullptr);
    xmlDocSetRootElement(doc.get(), effect);
    // Kdenlive's effect files declare this document type for their translations.
    xmlCreateIntSubset(doc.get(), x("kpartgui"), nullptr, nullptr);
    // MLT names a frei0r filter after the plug-in's file, mirrel.so.
    std::string service = "frei0r.mirrel";
    attr(effect, "tag", service);
    attr(effect, "id", service);
    attr(effect, "type", "video");
    child(effect, "name", kFrei0rName);
    child(effect, "description", kFrei0rExplanation);
    child(effect, "author", kFrei0rAuthor);
    for (Frei0rParam const& f : params)
        describe(xmlNewChild(effect, nullptr, x("parameter"), nullptr), f);

    xmlChar* text = nullptr;
    int size = 0;
    xmlDocDumpFormatMemoryEnc(doc.get(), &text, &size, "UTF-8", 1);
    if (!text) throw std::bad_alloc();
    std::string out(reinterpret_cast<char*>(text), size_t(size));
    xmlFree(text);
    return out;
}
