#pragma once
#include <map>
#include <string>
#include <string_view>

// The few pieces of the host's class system that the plug-in touches.

// Base of every object that crosses the plug-in boundary. One owner at a time: `release` ends the
// object when its last reference goes, `dealloc` ends it at once.
class NSObject {
  public:
    NSObject() = default;
    NSObject(NSObject const&) = delete;
    NSObject& operator=(NSObject const&) = delete;
    virtual ~NSObject() = default;

    NSObject* retain() {
        ++m_retainCount;
        return this;
    }
    void release() {
        if (--m_retainCount == 0) delete this;
    }
    void dealloc() { delete this; }

  private:
    int m_retainCount = 1;
};

// A number made from a Boolean or an integer.
class NSNumber {
  public:
    static NSNumber numberWithBool(bool value) { return NSNumber(value ? 1 : 0, true); }
    static NSNumber numberWithInt(int value) { return NSNumber(value, false); }
    bool boolValue() const { return m_value != 0; }
    int intValue() const { return m_value; }
    bool isBoolean() const { return m_isBool; }
    bool operator==(NSNumber const&) const = default;

  private:
    NSNumber(int value, bool isBool) : m_value(value), m_isBool(isBool) {}
    int m_value;
    bool m_isBool;
};

// A dictionary of numbers by string key, which is all that the plug-in's properties need.
class NSDictionary {
  public:
    NSDictionary() = default;
    NSDictionary(std::initializer_list<std::pair<std::string const, NSNumber>> entries)
        : m_entries(entries) {}
    NSNumber const* objectForKey(std::string_view key) const {
        auto it = m_entries.find(std::string(key));
        return it == m_entries.end() ? nullptr : &it->second;
    }
    std::size_t count() const { return m_entries.size(); }
    auto begin() const { return m_entries.begin(); }
    auto end() const { return m_entries.end(); }

  private:
    std::map<std::string, NSNumber> m_entries;
};

// A class known to the runtime by name: what NSClassFromString answers. `alloc` makes an
// uninitialised instance.
struct NSClass {
    char const* name;
    NSObject* (*alloc)();
};

// The class of that name, or null when this runtime has none.
NSClass const* NSClassFromString(std::string_view name);
