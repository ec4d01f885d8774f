#pragma once

#include "collections/interfaces.h"
#include "cpplanguage/orlostring.h"

#include <cstdint>

namespace Collections {

class IntHasher : public IHasher<int> {
public:
    void Release() override { delete this; }
    IntHasher* clone() const override { return new IntHasher(*this); }
    bool isValid(const int&) const override { return true; }
    std::uint32_t hash(const int& key) const override { return static_cast<std::uint32_t>(key); }
};

// Hashes the bytes of a text up to its first zero byte. The exact values matter: they fix
// the order in which a table keyed by names hands back its entries.
class CStringHasher : public IHasher<ORLO::String> {
public:
    void Release() override { delete this; }
    CStringHasher* clone() const override { return new CStringHasher(*this); }
    bool isValid(const ORLO::String&) const override { return true; }
    std::uint32_t hash(const ORLO::String& key) const override { return hashText(key.c_str()); }

    // Null and empty texts hash to 0.
    static std::uint32_t hashText(const char* text);
};

} // namespace Collections
