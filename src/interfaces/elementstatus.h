#pragma once

namespace QEL {

// How alive an element is, in a stream (where it is IMetaModelEvents::ElementStatus) and in a
// model alike. A higher value is a weaker element, so the status an element has under its
// owner is the maximum of the two. A fixed underlying type: values from outside (a repository
// row, a caller) may lie beyond the four, and writers must be able to hold and test them.
enum ElementStatus : int { EsActive = 0, EsDeprecated = 1, EsObsolete = 2, EsInactive = 3 };

} // namespace QEL
