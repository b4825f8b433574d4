#include "apps/common/Json.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>

namespace {

class Reader {
  public:
    explicit Reader(std::string const& t) : m_text(t) {}

    JsonValue document() {
        JsonValue v = value(0);
        skipSpace();
        if (m_pos != m_text.size()) fail("unexpected text after the value");
        return v;
    }

  private:
    static constexpr int kMaxDepth = 64;

    [[noreturn]] void fail(std::string const& what) const {
        int line = 1, column = 1;
        for (size_t i = 0; i < m_pos && i < m_text.size(); ++i) {
            if (m_text[i] == '\n')
                ++line, column = 1;
            else
                ++column;
        }
        throw std::runtime_error("line " + std::to_string(line) + ", column " +
                                 std::to_string(column) + ": " + what);
    }

    void skipSpace() {
        while (m_pos < m_text.size() && (m_text[m_pos] == ' ' || m_text[m_pos] == '\t' ||
                                         m_text[m_pos] == '\n' || m_text[m_pos] == '\r'))
            ++m_pos;
    }

    bool take(char c) {
        skipSpace();
        if (m_pos < m_text.size() && m_text[m_pos] == c) return ++m_pos, true;
        return false;
    }

    void expect(char c) {
        if (!take(c)) fail(std::string("expected '") + c + "'");
    }

    bool word(char const* w) {
        size_t n = std::char_traits<char>::length(w);
        if (m_text.compare(m_pos, n, w) != 0) return false;
        m_pos += n;
        return true;
    }

    JsonValue value(int depth) {
        if (depth > kMaxDepth) fail("nesting too deep");
        skipSpace();
        if (m_pos >= m_text.size()) fail("unexpected end of text");
        JsonValue v;
        char c = m_text[m_pos];
        if (c == '{') return object(depth);
        if (c == '[') return array(depth);
        if (c == '"') {
            v.type = JsonValue::Type::String;
            v.text = string();
        } else if (word("true")) {
            v.type = JsonValue::Type::Bool;
            v.boolean = true;
        } else if (word("false")) {
            v.type = JsonValue::Type::Bool;
        } else if (word("null")) {
            v.type = JsonValue::Type::Null;
        } else if (c == '-' || (c >= '0' && c <= '9')) {
            number(v);
        } else {
            fail("unexpected character");
        }
        return v;
    }

    JsonValue object(int depth) {
        JsonValue v;
        v.type = JsonValue::Type::Object;
        expect('{');
        if (take('}')) return v;
        do {
            skipSpace();
            if (m_pos >= m_text.size() || m_text[m_pos] != '"') fail("expected a member name");
            std::string name = string();
            expect(':');
            v.members.emplace_back(std::move(name), value(depth + 1));
        } while (take(','));
        expect('}');
        return v;
    }

    JsonValue array(int depth) {
        JsonValue v;
        v.type = JsonValue::Type::Array;
        expect('[');
        if (take(']')) return v;
        do v.items.push_back(value(depth + 1));
        while (take(','));
        expect(']');
        return v;
    }

    void number(JsonValue& v) {
        size_t start = m_pos;
        auto digits = [&] {
            size_t s = m_pos;
            while (m_pos < m_text.size() && m_text[m_pos] >= '0' && m_text[m_pos] <= '9') ++m_pos;
            return m_pos > s;
        };
        if (m_text[m_pos] == '-') ++m_pos;
        if (!digits()) fail("malformed number");
        if (m_pos < m_text.size() && m_text[m_pos] == '.') {
            ++m_pos;
            if (!digits()) fail("malformed number");
        }
        if (m_pos < m_text.size() && (m_text[m_pos] == 'e' || m_text[m_pos] == 'E')) {
            ++m_pos;
            if (m_pos < m_text.size() && (m_text[m_pos] == '+' || m_text[m_pos] == '-')) ++m_pos;
            if (!digits()) fail("malformed number");
        }
        v.type = JsonValue::Type::Number;
        v.text = m_text.substr(start, m_pos - start);
        v.number = std::strtod(v.text.c_str(), nullptr);
        if (!std::isfinite(v.number)) fail("number out of range");
    }

    unsigned hex4() {
        if (m_pos + 4 > m_text.size()) fail("malformed \\u escape");
        unsigned u = 0;
        for (int i = 0; i < 4; ++i) {
            char h = m_text[m_pos++];
            u <<= 4;
            if (h >= '0' && h <= '9')
                u |= unsigned(h - '0');
            else if (h >= 'a' && h <= 'f')
                u |= unsigned(h - 'a' + 10);
            else if (h >= 'A' && h <= 'F')
                u |= unsigned(h - 'A' + 10);
            else
                fail("malformed \\u escape");
        }
        return u;
    }

    static void appendUtf8(std::string& out, unsigned cp) {
        if (cp < 0x80) {
            out += char(cp);
        } else if (cp < 0x800) {
            out += char(0xC0 | (cp >> 6));
            out += char(0x80 | (cp & 0x3F));
        } else if (cp < 0x10000) {
            out += char(0xE0 | (cp >> 12));
            out += char(0x80 | ((cp >> 6) & 0x3F));
            out += char(0x80 | (cp & 0x3F));
        } else {
            out += char(0xF0 | (cp >> 18));
            out += char(0x80 | ((cp >> 12) & 0x3F));
            out += char(0x80 | ((cp >> 6) & 0x3F));
            out += char(0x80 | (cp & 0x3F));
        }
    }

    std::string string() {
        ++m_pos; // opening quote
        std::string out;
        for (;;) {
            if (m_pos >= m_text.size()) fail("unterminated string");
            char c = m_text[m_pos++];
            if (c == '"') return out;
            if (static_cast<unsigned char>(c) < 0x20) fail("control character in string");
            if (c != '\\') {
                out += c;
                continue;
            }
            if (m_pos >= m_text.size()) fail("unterminated string");
            char e = m_text[m_pos++];
            switch (e) {
            case '"':
                out += '"';
                break;
            case '\\':
                out += '\\';
                break;
            case '/':
                out += '/';
                break;
            case 'b':
                out += '\b';
                break;
            case 'f':
                out += '\f';
                break;
            case 'n':
                out += '\n';
                break;
            case 'r':
                out += '\r';
                break;
            case 't':
                out += '\t';
                break;
            case 'u': {
                unsigned cp = hex4();
                if (cp >= 0xD800 && cp < 0xDC00 && m_text.compare(m_pos, 2, "\\u") == 0) {
                    m_pos += 2;
                    unsigned lo = hex4();
                    if (lo < 0xDC00 || lo >= 0xE000) fail("malformed surrogate pair");
                    cp = 0x10000 + ((cp - 0xD800) << 10) + (lo - 0xDC00);
                }
                appendUtf8(out, cp);
                break;
            }
            default:
                fail("unknown escape");
            }
        }
    }

    std::string const& m_text;
    size_t m_pos = 0;
};

} // namespace

JsonValue parseJson(std::string const& text) {
    return Reader(text).document();
}

std::string jsonQuote(std::string const& s) {
    std::string out = "\"";
    for (char c : s) {
        if (c == '"' || c == '\\')
            out += '\\', out += c;
        else if (c == '\n')
            out += "\\n";
        else if (static_cast<unsigned char>(c) < 0x20) {
            char buf[8];
            std::snprintf(buf, sizeof buf, "\\u%04x", unsigned(c));
            out += buf;
        } else
            out += c;
    }
    return out + "\"";
}
