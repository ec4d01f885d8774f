#pragma once

#include "cpplanguage/orlostring.h"

#include <cstddef>
#include <deque>
#include <memory>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace MetaModel {

// Texts kept until the store is cleared, packed into blocks that never move, so that a view of
// one stays valid while more are added. A string object per text would cost its 32 bytes and,
// past a few characters, an allocation of its own; the readers and checkers of a large schema
// keep hundreds of thousands of them. Texts that repeat throughout (attribute names, codes) are
// kept once, as strings that can be handed on as they are.
class TextStore {
public:
    std::string_view keep(std::string_view text);
    const ORLO::String& intern(std::string_view text);
    void clear();

private:
    static constexpr std::size_t blockSize = 256 * 1024;

    std::vector<std::unique_ptr<char[]>> blocks_;
    char* free_ = nullptr;
    std::size_t left_ = 0;
    std::deque<ORLO::String> interned_;
    std::unordered_map<std::string_view, const ORLO::String*> internedByText_;
};

} // namespace MetaModel
