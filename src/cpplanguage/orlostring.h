#pragma once

#include <string>
#include <string_view>

namespace ORLO {

// The system's string: a byte string with the extra operations its callers need. Bytes stay
// bytes; nothing here converts character sets.
class String : public std::string {
public:
    String() = default;
    String(const char* text) : std::string(text ? text : "") {}
    String(const std::string& text) : std::string(text) {}
    String(std::string&& text) noexcept : std::string(std::move(text)) {}
    String(std::string_view text) : std::string(text) {}
    String(const char* text, size_type length) : std::string(text, length) {}
    String(char c, int count) : std::string(count > 0 ? size_type(count) : 0, c) {}

    String& operator=(const char* text) {
        std::string::operator=(text ? text : "");
        return *this;
    }
    String& operator+=(const String& other) {
        append(other);
        return *this;
    }
    String& operator+=(const char* text) {
        if (text)
            append(text);
        return *this;
    }
    String& operator+=(char c) {
        push_back(c);
        return *this;
    }

    char operator[](int index) const { return std::string::operator[](size_type(index)); }
    char& operator[](int index) { return std::string::operator[](size_type(index)); }

    // printf-style; the result may be of any length.
    String& Format(const char* format, ...) __attribute__((format(printf, 2, 3)));

    String left(int n) const;
    String right(int n) const;
    String subString(int n) const;
    int reverseFind(char c) const;
    String& trimRight(char c);
    String& trim(const char* set);
    String Tokenize(const char* delimiters, int& position) const;

    // Replacement runs once from the left and never rescans replaced text.
    String& replace(const String& from, const String& to);
    String& replace(const char* from, const char* to);
    String& replace(const char* from, const String& to);
    String& replace(const char* from, const String& to, int& count);

    static const String& nil();
};

inline String operator+(const String& a, const String& b) {
    String r(a);
    r += b;
    return r;
}
inline String operator+(const String& a, const char* b) {
    String r(a);
    r += b;
    return r;
}
inline String operator+(const char* a, const String& b) {
    String r(a);
    r += b;
    return r;
}
// A String joined with a standard string, on either side, is a String. Without these, the standard
// library's own operator+ and the String ones above would tie, and the call be ambiguous.
inline String operator+(const String& a, const std::string& b) {
    String r(a);
    r.append(b);
    return r;
}
inline String operator+(const String& a, std::string&& b) {
    String r(a);
    r.append(b);
    return r;
}
inline String operator+(const std::string& a, const String& b) {
    String r(a);
    r.append(b);
    return r;
}
inline String operator+(std::string&& a, const String& b) {
    String r(std::move(a));
    r.append(b);
    return r;
}
inline String operator+(const String& a, char b) {
    String r(a);
    r += b;
    return r;
}

} // namespace ORLO
