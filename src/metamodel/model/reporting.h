#pragma once

#include "platform/messages.h"

#include <initializer_list>

namespace QEL {

// The reports that lookups on a finished model may post. They are silent only in production
// mode without a usable message manager, so that a host that runs without one is not flooded.
bool modelReportsArePosted();

void reportFromModel(const CppLanguage::SourceSite& site, const char* id,
                     std::initializer_list<CppLanguage::MsgArg> args);
// The same, with `location` standing as the message's document.
void reportFromModel(const CppLanguage::SourceSite& site, const ORLO::String& location,
                     const char* id, std::initializer_list<CppLanguage::MsgArg> args);

} // namespace QEL
