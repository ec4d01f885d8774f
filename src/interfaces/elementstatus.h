#pragma once

namespace QEL {

// How alive an element of a model is. A higher value is a weaker element, so the status an
// element has under its owner is the maximum of the two. The values are those of the event
// stream, so a status crosses from the stream into a model unchanged.
enum ElementStatus { EsActive = 0, EsDeprecated = 1, EsObsolete = 2, EsInactive = 3 };

} // namespace QEL
