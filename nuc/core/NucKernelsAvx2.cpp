// The loops for x86-64 processors with AVX2 and FMA. This file is built with
// both instruction sets enabled and is only called after the processor said it
// has them.
#if defined(__x86_64__)
#define NUC_KERNEL_NAMESPACE avx2
#define NUC_KERNEL_NAME "avx2"
#include "NucKernelBody.h"
#endif
