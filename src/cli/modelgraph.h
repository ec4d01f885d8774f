#pragma once

#include "interfaces/imetamodel.h"

#include <string>

namespace Cli {

struct GraphOptions {
    bool trees = false;
    // Empty: the whole model. Otherwise the category or type around which the picture is cut.
    std::string focus;
    // Levels kept above and below the focus; negative keeps all.
    int up = -1;
    int down = 1;
};

// The model's inheritance (from child to parent), and its tree links when asked for, as a
// Graphviz DOT graph: nodes by name, then edges, each in byte order of the names, so that the
// same model always gives the same text. Throws QEL::CMetaModelException when the focus names
// no category or type.
std::string dotGraph(const QEL::IMetaModel& model, const GraphOptions& options);

} // namespace Cli
