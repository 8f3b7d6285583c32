// The loops for x86-64 processors with SSE4.1 but without AVX2: the 32-bit
// multiplies, narrowing packs and blends the loops need are single
// instructions there, where plain SSE2 has to emulate them.
#if defined(__x86_64__)
#define NUC_KERNEL_NAMESPACE sse41
#define NUC_KERNEL_NAME "sse4.1"
#include "NucKernelBody.h"
#endif
