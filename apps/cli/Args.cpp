#include "apps/cli/Args.h"

#include "apps/common/Errors.h"

#include <cmath>
#include <cstdlib>

namespace {

bool readDouble(std::string const& s, double& v) {
    char* end = nullptr;
    v = std::strtod(s.c_str(), &end);
    return !s.empty() && *end == '\0' && std::isfinite(v);
}

bool readLong(std::string const& s, long& v) {
    char* end = nullptr;
    v = std::strtol(s.c_str(), &end, 10);
    return !s.empty() && *end == '\0' && s.find_first_not_of("0123456789") == std::string::npos;
}

class Walker {
  public:
    Walker(std::vector<std::string> const& args, std::string command)
        : m_args(args), m_command(std::move(command)) {}

    bool next(std::string& name, std::string& inlineValue, bool& hasInline) {
        if (m_i >= m_args.size()) return false;
        name = m_args[m_i++];
        hasInline = false;
        size_t eq = name.find('=');
        if (name.rfind("--", 0) == 0 && eq != std::string::npos) {
            inlineValue = name.substr(eq + 1);
            name.erase(eq);
            hasInline = true;
        }
        return true;
    }

    std::string value(std::string const& name, std::string const& inlineValue, bool hasInline) {
        if (hasInline) return inlineValue;
        if (m_i >= m_args.size()) throw UsageError(m_command + ": " + name + " needs a value");
        return m_args[m_i++];
    }

    [[noreturn]] void badValue(std::string const& name, std::string const& v,
                               std::string const& expected) const {
        throw UsageError(m_command + ": " + name + " " + inQuotes(v) + ": expected " + expected);
    }

  private:
    std::vector<std::string> const& m_args;
    std::string m_command;
    size_t m_i = 1;
};

void parseRenderOption(Options& o, Walker& w, std::string const& name, std::string const& v) {
    if (name == "--set") {
        o.values.push_back({false, v});
    } else if (name == "--preset") {
        o.values.push_back({true, v});
    } else if (name == "--frame") {
        if (!readDouble(v, o.frame)) w.badValue(name, v, "a frame number");
    } else if (name == "--frames") {
        size_t dash = v.find('-', 1);
        if (dash == std::string::npos || !readLong(v.substr(0, dash), o.first) ||
            !readLong(v.substr(dash + 1), o.last) || o.first > o.last)
            w.badValue(name, v, "a range A-B with A no greater than B");
        o.sequence = true;
    } else if (name == "--host") {
        if (v == "fcp")
            o.host = 0;
        else if (v == "motion")
            o.host = 1;
        else if (v == "fce")
            o.host = 2;
        else
            w.badValue(name, v, "fcp, motion or fce");
    } else if (name == "--depth") {
        if (v == "8" || v == "16" || v == "32")
            o.depth = std::atoi(v.c_str());
        else
            w.badValue(name, v, "8, 16 or 32");
    } else if (name == "--order") {
        if (v == "rgba" || v == "argb")
            o.argb = v == "argb";
        else
            w.badValue(name, v, "rgba or argb");
    } else if (name == "--scale") {
        if (!readDouble(v, o.scale) || o.scale <= 0.0 || o.scale > 1.0)
            w.badValue(name, v, "a scale above 0 and at most 1");
    } else if (name == "--field") {
        if (v == "0" || v == "1" || v == "2")
            o.field = std::atoi(v.c_str());
        else
            w.badValue(name, v, "0, 1 or 2");
    }
}

bool takesValue(std::string const& name) {
    for (char const* n : {"--set", "--preset", "--frame", "--frames", "--host", "--depth",
                          "--order", "--scale", "--field", "-o", "--output"})
        if (name == n) return true;
    return false;
}

} // namespace

Options parseArguments(std::vector<std::string> const& args) {
    Options o;
    if (args.empty()) throw UsageError("no command given; try mirrel --help");
    std::string const& cmd = args[0];
    if (cmd == "--help" || cmd == "-h" || cmd == "help") {
        o.command = Command::Help;
        if (args.size() > 1) o.helpTopic = args[1];
        return o;
    }
    if (cmd == "--version") {
        o.command = Command::Version;
        return o;
    }
    if (cmd == "render")
        o.command = Command::Render;
    else if (cmd == "demo")
        o.command = Command::Demo;
    else if (cmd == "params")
        o.command = Command::Params;
    else
        throw UsageError("unknown command " + inQuotes(cmd) +
                         "; the commands are render, demo, params");

    Walker w(args, "mirrel " + cmd);
    std::vector<std::string> positional;
    std::string name, inlineValue;
    bool hasInline = false;
    bool frameGiven = false;
    while (w.next(name, inlineValue, hasInline)) {
        if (name == "--help" || name == "-h") {
            o.command = Command::Help;
            o.helpTopic = cmd;
            return o;
        }
        if (name.size() > 1 && name[0] == '-') {
            bool known = o.command == Command::Render
                             ? takesValue(name) || name == "--show-controls"
                         : o.command == Command::Demo ? name == "-o" || name == "--output"
                                                      : name == "--json";
            if (!known) throw UsageError("mirrel " + cmd + ": unknown option " + name);
        }
        if (name == "--json") {
            o.json = true;
        } else if (name == "--show-controls") {
            o.showControls = true;
        } else if (name == "-o" || name == "--output") {
            o.output = w.value(name, inlineValue, hasInline);
        } else if (takesValue(name)) {
            frameGiven = frameGiven || name == "--frame";
            parseRenderOption(o, w, name, w.value(name, inlineValue, hasInline));
        } else {
            positional.push_back(name);
        }
    }

    if (o.command == Command::Render) {
        if (positional.size() != 1)
            throw UsageError("mirrel render: expected one INPUT; try mirrel render --help");
        o.input = positional[0];
        if (o.output.empty()) throw UsageError("mirrel render: -o OUTPUT is required");
        if (o.sequence && frameGiven)
            throw UsageError("mirrel render: --frame and --frames exclude each other");
        if (o.sequence) o.frame = double(o.first);
    } else if (!positional.empty()) {
        throw UsageError("mirrel " + cmd + ": unexpected argument " + inQuotes(positional[0]));
    }
    if (o.command == Command::Demo && o.output.empty()) o.output = "mirrel-demo.png";
    return o;
}
