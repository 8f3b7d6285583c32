// The loops for the architecture's baseline (SSE2 on x86-64, NEON on 64-bit
// ARM): the variant every machine runs.
#define NUC_KERNEL_NAMESPACE generic
#define NUC_KERNEL_NAME "baseline"
#include "NucKernelBody.h"
