#include "platform/Process.h"

#include <cstdio>
#include <cstring>
#include <fstream>

struct __CFString {
    std::string text;
};

namespace {

std::string& nameOverride() {
    static std::string name;
    return name;
}

std::string programName() {
    std::ifstream comm("/proc/self/comm");
    std::string name;
    std::getline(comm, name);
    return name;
}

} // namespace

OSStatus GetCurrentProcess(ProcessSerialNumber* psn) {
    if (!psn) return -50;
    psn->highLongOfPSN = 0;
    psn->lowLongOfPSN = 2; // the current process
    return noErr;
}

OSStatus CopyProcessName(ProcessSerialNumber const* psn, CFStringRef* name) {
    if (!psn || !name) return -50;
    std::string text = nameOverride().empty() ? programName() : nameOverride();
    if (text.empty()) return -600;
    *name = new __CFString{text};
    return noErr;
}

bool CFStringGetCString(CFStringRef string, char* buffer, long size, CFStringEncoding encoding) {
    if (!string || !buffer || size <= 0 || encoding != kCFStringEncodingASCII) return false;
    for (unsigned char c : string->text)
        if (c > 127) return false;
    if (long(string->text.size()) + 1 > size) return false;
    std::memcpy(buffer, string->text.c_str(), string->text.size() + 1);
    return true;
}

void CFRelease(CFStringRef string) {
    delete string;
}

int NSRunAlertPanel(char const* title, char const* message, char const*, char const*, char const*) {
    std::fprintf(stderr, "%s: %s\n", title ? title : "", message ? message : "");
    return 1;
}

void SetCurrentProcessName(std::string const& name) {
    nameOverride() = name;
}
