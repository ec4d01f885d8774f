#include "metamodel/textstore.h"

#include <cstring>

namespace MetaModel {

std::string_view TextStore::keep(std::string_view text) {
    if (text.empty())
        return {};
    if (text.size() > left_) {
        // A text too long for a block gets one of its own; the open block stays open.
        if (text.size() > blockSize / 4) {
            blocks_.push_back(std::make_unique_for_overwrite<char[]>(text.size()));
            std::memcpy(blocks_.back().get(), text.data(), text.size());
            return {blocks_.back().get(), text.size()};
        }
        blocks_.push_back(std::make_unique_for_overwrite<char[]>(blockSize));
        free_ = blocks_.back().get();
        left_ = blockSize;
    }
    char* const kept = free_;
    std::memcpy(kept, text.data(), text.size());
    free_ += text.size();
    left_ -= text.size();
    return {kept, text.size()};
}

const ORLO::String& TextStore::intern(std::string_view text) {
    if (const auto found = internedByText_.find(text); found != internedByText_.end())
        return *found->second;
    const ORLO::String& kept = interned_.emplace_back(text);
    internedByText_.emplace(kept, &kept);
    return kept;
}

void TextStore::clear() {
    blocks_.clear();
    free_ = nullptr;
    left_ = 0;
    internedByText_.clear();
    interned_.clear();
}

} // namespace MetaModel
