// Argument reports from the core's kernels.
//
// The error handler lives in the threading layer, above the core.  The core
// never links against it: it looks orb_serv_xerbla up at run time and, when no
// threading layer is loaded, prints the same report itself.
#pragma once

namespace orb::core {

//! Reports that argument `info` of routine `name` was illegal.
void report_xerbla(const char *name, int info);

}  // namespace orb::core
