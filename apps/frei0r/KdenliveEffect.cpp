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

// The group a parameter stands in: the nearest group before it in the catalogue.
std::string groupOf(Frei0rParam const& f) {
    for (Param const* p = f.param;; --p)
        if (p->kind == ParamKind::Group) return p->name;
}

void describe(xmlNodePtr node, Frei0rParam const& f, std::string const& group) {
    Param const& p = *f.param;
    UserValue d = userDefault(p);
    // Kdenlive hands `default` and menu values to MLT as written, and shows a number as its MLT
    // value times `factor`, within `min` and `max`.
    double v[3] = {0, 0, 0};
    frei0rFromUserValue(f, d, v);
    attr(node, "name", f.name);
    switch (p.kind) {
    case ParamKind::Toggle:
        attr(node, "type", "bool");
        attr(node, "default", d[0] != 0 ? "1" : "0");
        break;
    case ParamKind::Color:
        attr(node, "type", "color");
        attr(node, "default", frei0rEditorDisplay(f, d).text);
        break;
    case ParamKind::Popup: {
        std::string values, labels;
        for (size_t k = 0; k < p.entries.size(); ++k) {
            values += (k ? ";" : "") + frei0rText(f, {double(k), 0, 0});
            labels += (k ? "," : "") + p.entries[k];
        }
        attr(node, "type", "list");
        attr(node, "default", frei0rText(f, d));
        attr(node, "paramlist", values);
        child(node, "paramlistdisplay", labels);
        break;
    }
    default: {
        EditorControl c = editorControl(f);
        attr(node, "type", p.kind == ParamKind::Int ? "constant" : "animated");
        attr(node, "default", frei0rText(f, d));
        attr(node, "min", formatNumber(c.min));
        attr(node, "max", formatNumber(c.max));
        attr(node, "factor", formatNumber(c.factor));
        attr(node, "decimals", std::to_string(c.decimals));
        if (!c.unit.empty()) attr(node, "suffix", c.unit);
    }
    }
    child(node, "name", f.name);
    // Kdenlive's descriptions have no groups of parameters; the comment names it.
    child(node, "comment", group + ": " + f.explanation);
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
        describe(xmlNewChild(effect, nullptr, x("parameter"), nullptr), f, groupOf(f));

    xmlChar* text = nullptr;
    int size = 0;
    xmlDocDumpFormatMemoryEnc(doc.get(), &text, &size, "UTF-8", 1);
    if (!text) throw std::bad_alloc();
    std::string out(reinterpret_cast<char*>(text), size_t(size));
    xmlFree(text);
    return out;
}
