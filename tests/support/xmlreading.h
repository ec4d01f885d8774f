#pragma once

#include "support/messagecapture.h"
#include "support/recordingevents.h"

#include <string>
#include <vector>

namespace TestSupport {

// Plays one document held in memory through the XML reader into a recording sink; failures
// come back as the captured messages.
struct SourceReading {
    RecordingEvents events;
    MessageCapture messages;
};

void readSource(SourceReading& reading, const std::string& text,
                const std::string& sourceName = "test.xml");

} // namespace TestSupport
