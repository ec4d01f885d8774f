#pragma once

#include "cpplanguage/orlostring.h"

#include <memory>
#include <string_view>
#include <utility>

namespace QEL {

// The name of an element that the model's tables find it by. The tables view the text rather
// than keep a copy of it, so once an element is entered, the entered text stays where it is for
// the element's life: a later rename changes what the element answers, while the tables go on
// finding it under the entered name, as tables with their own copies of the keys would.
class LastingName {
public:
    LastingName() = default;
    // A copy is entered nowhere: it simply holds the current name.
    LastingName(const LastingName& other) : entered_(other.get()) {}
    LastingName& operator=(const LastingName& other) {
        if (this != &other)
            set(other.get());
        return *this;
    }

    const ORLO::String& get() const { return renamed_ ? *renamed_ : entered_; }
    void set(ORLO::String name) {
        if (enteredInTables_ && renamed_)
            *renamed_ = std::move(name);
        else if (enteredInTables_)
            renamed_ = std::make_unique<ORLO::String>(std::move(name));
        else
            entered_ = std::move(name);
    }
    // The text to enter in a table; it stays valid and unchanged from now on.
    const ORLO::String& enter() {
        enteredInTables_ = true;
        return entered_;
    }

private:
    ORLO::String entered_;
    std::unique_ptr<ORLO::String> renamed_;
    bool enteredInTables_ = false;
};

} // namespace QEL
