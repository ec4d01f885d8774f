#include "cpplanguage/orlostring.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace ORLO {

String& String::Format(const char* format, ...) {
    va_list args;
    va_start(args, format);
    va_list copy;
    va_copy(copy, args);
    const int needed = std::vsnprintf(nullptr, 0, format, copy);
    va_end(copy);
    if (needed < 0) {
        va_end(args);
        clear();
        return *this;
    }
    std::string buffer(size_type(needed) + 1, '\0');
    std::vsnprintf(buffer.data(), buffer.size(), format, args);
    va_end(args);
    buffer.resize(size_type(needed));
    std::string::operator=(std::move(buffer));
    return *this;
}

String String::left(int n) const {
    if (n <= 0)
        return String();
    return String(substr(0, size_type(n)));
}

String String::right(int n) const {
    if (n <= 0)
        return String();
    if (size_type(n) >= size())
        return *this;
    return String(substr(size() - size_type(n)));
}

String String::subString(int n) const {
    if (n <= 0)
        return *this;
    if (size_type(n) >= size())
        return String();
    return String(substr(size_type(n)));
}

int String::reverseFind(char c) const {
    const size_type at = rfind(c);
    return at == npos ? -1 : int(at);
}

String& String::trimRight(char c) {
    while (!empty() && back() == c)
        pop_back();
    return *this;
}

String& String::trim(const char* set) {
    if (!set)
        return *this;
    const size_type first = find_first_not_of(set);
    if (first == npos) {
        clear();
        return *this;
    }
    const size_type last = find_last_not_of(set);
    std::string::operator=(substr(first, last - first + 1));
    return *this;
}

String String::Tokenize(const char* delimiters, int& position) const {
    if (position < 0 || size_type(position) >= size())
        return String();
    const char* set = delimiters ? delimiters : "";
    const size_type start = find_first_not_of(set, size_type(position));
    if (start == npos) {
        position = int(size());
        return String();
    }
    size_type end = find_first_of(set, start);
    if (end == npos)
        end = size();
    position = int(end);
    return String(substr(start, end - start));
}

String& String::replace(const char* from, const String& to, int& count) {
    count = 0;
    if (!from || !*from)
        return *this;
    const size_type fromLength = std::strlen(from);
    std::string result;
    result.reserve(size());
    size_type cursor = 0;
    for (size_type hit = find(from, 0, fromLength); hit != npos;
         hit = find(from, cursor, fromLength)) {
        result.append(*this, cursor, hit - cursor);
        result.append(to);
        cursor = hit + fromLength;
        ++count;
    }
    if (count == 0)
        return *this;
    result.append(*this, cursor, npos);
    std::string::operator=(std::move(result));
    return *this;
}

String& String::replace(const char* from, const String& to) {
    int count = 0;
    return replace(from, to, count);
}

String& String::replace(const String& from, const String& to) {
    return replace(from.c_str(), to);
}

String& String::replace(const char* from, const char* to) {
    return replace(from, String(to));
}

const String& String::nil() {
    static const String empty;
    return empty;
}

} // namespace ORLO
