#include "infrastructure/utility/KernelForm_p.h"

#include <QByteArray>

#include <atomic>

#if defined(__arm__)
#include <asm/hwcap.h>
#include <sys/auxv.h>
#endif

namespace {

KernelForm formOfEnvironment()
{
    const bool plain = qgetenv("INFRASTRUCTURE_KERNELS") == "plain";
    return hasVectorKernels() && !plain ? KernelForm::Vector : KernelForm::Plain;
}

std::atomic<KernelForm>& currentForm()
{
    static std::atomic<KernelForm> form(formOfEnvironment());
    return form;
}

} // namespace

bool hasVectorKernels()
{
#if KERNELS_WITH_AVX2
    return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("pclmul");
#elif KERNELS_WITH_NEON && defined(__arm__)
    return (getauxval(AT_HWCAP) & HWCAP_NEON) != 0;
#else
    return KERNELS_WITH_NEON != 0;
#endif
}

KernelForm getKernelForm()
{
    return currentForm().load(std::memory_order_relaxed);
}

ForcedKernels::ForcedKernels(KernelForm form)
    : before(currentForm().exchange(hasVectorKernels() ? form : KernelForm::Plain))
{
}

ForcedKernels::~ForcedKernels()
{
    currentForm().store(before);
}
