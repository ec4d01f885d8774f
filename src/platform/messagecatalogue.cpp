#include "platform/messagecatalogue.h"

#include "cpplanguage/appmsg.h"

#include <algorithm>

namespace AppMsgManager {

namespace {

using CppLanguage::SeverityError;
using CppLanguage::SeverityInfo;
using CppLanguage::SeverityWarning;

constexpr MessageDefinition catalogue[] = {
    {"QEL_MM_EMPTY_ID", SeverityError, "An element has an empty 'id' or 'rid' attribute."},
    {"QEL_MM_XML_FILE_ERR", SeverityError, "The meta-model document '{FILE}' cannot be read."},
};

} // namespace

std::span<const MessageDefinition> allMessageDefinitions() {
    return catalogue;
}

const MessageDefinition* findMessageDefinition(std::string_view id) {
    const auto* end = std::end(catalogue);
    const auto* found = std::find_if(std::begin(catalogue), end,
                                     [&](const MessageDefinition& d) { return id == d.id; });
    return found == end ? nullptr : found;
}

} // namespace AppMsgManager
