#pragma once
#include <string>

// Process and panel services of the system, as far as a plug-in uses them.

struct ProcessSerialNumber {
    unsigned long highLongOfPSN = 0;
    unsigned long lowLongOfPSN = 0;
};

using OSStatus = int;
constexpr OSStatus noErr = 0;

// An immutable string of the system. Made by the services below, ended with CFRelease.
using CFStringRef = struct __CFString const*;
using CFStringEncoding = unsigned;
constexpr CFStringEncoding kCFStringEncodingASCII = 0x0600;

OSStatus GetCurrentProcess(ProcessSerialNumber* psn);
// The name of the process; the caller releases it.
OSStatus CopyProcessName(ProcessSerialNumber const* psn, CFStringRef* name);
// Copies the string into `buffer` of `size` bytes with its terminating zero; false if it does
// not fit or is not of the encoding.
bool CFStringGetCString(CFStringRef string, char* buffer, long size, CFStringEncoding encoding);
void CFRelease(CFStringRef string);

// Shows a modal panel and answers the button pressed (1, the default). Without a window system
// the panel is one line on standard error: "title: message".
int NSRunAlertPanel(char const* title, char const* message, char const* defaultButton,
                    char const* alternateButton, char const* otherButton);

// The name CopyProcessName reports. By default the program's own name; a host that runs a
// plug-in in-process may present itself under another (an empty name restores the default).
void SetCurrentProcessName(std::string const& name);
