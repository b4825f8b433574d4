#pragma once
#include <string>
#include <vector>

// The small part of JSON that presets need: a reader into a tree of values. Object members keep
// their order of appearance.
struct JsonValue {
    enum class Type { Null, Bool, Number, String, Array, Object };
    Type type = Type::Null;
    bool boolean = false;
    double number = 0.0;
    std::string text;                                       // String; for numbers, as written
    std::vector<JsonValue> items;                           // Array
    std::vector<std::pair<std::string, JsonValue>> members; // Object
};

// Throws std::runtime_error with the line and column of the first error.
JsonValue parseJson(std::string const& text);

// One value as JSON text, for messages and the params listing.
std::string jsonQuote(std::string const& s);
