// The forms that kernels, the inner loops over samples, exist in, and which of them runs. A
// kernel's source is compiled once for each form (`infrastructure_kernels` in CMake), with
// KERNEL_FORM as its name:
//
//   Plain    for any machine that the libraries run on
//   Vector   for AVX2 and carry-less multiplication on x86-64, and for NEON on ARM
//
// Both give the same bits. A family of kernels is a struct of function pointers:
//
//   struct SumKernels                                 // SumKernels_p.h
//   {
//       quint32 (*sum)(const quint16* words, std::size_t count);
//       static const SumKernels& of(PlainForm);
//       static const SumKernels& of(VectorForm);
//   };
//
//   KERNELS_BEGIN                                     // SumKernels.cpp
//   quint32 sumOf(const quint16* words, std::size_t count) { ... }
//   KERNELS_END
//   const SumKernels& SumKernels::of(KERNEL_TAG)
//   {
//       static constexpr SumKernels KERNELS{sumOf};
//       return KERNELS;
//   }
//
//   getKernels<SumKernels>().sum(words, count);       // whoever needs it
//
// What stands between KERNELS_BEGIN and KERNELS_END is compiled for the machine of the form, in a
// namespace of its own, so that no inline function reaches machines that can't run it. What is
// included stays outside. A helper header that works on vectors has the brackets as well.
#pragma once

/// 1 where the vector form may use these intrinsics.
#define KERNELS_WITH_AVX2 0
#define KERNELS_WITH_NEON 0

#if defined(__x86_64__)
#undef KERNELS_WITH_AVX2
#define KERNELS_WITH_AVX2 1
#elif defined(__aarch64__) || defined(__ARM_NEON) || (defined(__arm__) && !defined(__clang__))
#undef KERNELS_WITH_NEON
#define KERNELS_WITH_NEON 1
#endif

// A source that is compiled once, such as a case's, has the plain form.
#ifndef KERNEL_FORM
#define KERNEL_FORM Plain
#define KERNEL_IS_VECTOR 0
#endif

#if KERNEL_IS_VECTOR && KERNELS_WITH_AVX2 && defined(__clang__)
#define KERNELS_TARGET                                                                             \
    _Pragma("clang attribute push(__attribute__((target(\"avx2,pclmul\"))), apply_to = function)")
#define KERNELS_TARGET_END _Pragma("clang attribute pop")
#elif KERNEL_IS_VECTOR && KERNELS_WITH_AVX2
#define KERNELS_TARGET _Pragma("GCC push_options") _Pragma("GCC target(\"avx2,pclmul\")")
#define KERNELS_TARGET_END _Pragma("GCC pop_options")
#elif KERNEL_IS_VECTOR && KERNELS_WITH_NEON && !defined(__ARM_NEON)
#define KERNELS_TARGET _Pragma("GCC push_options") _Pragma("GCC target(\"fpu=neon\")")
#define KERNELS_TARGET_END _Pragma("GCC pop_options")
#else
#define KERNELS_TARGET
#define KERNELS_TARGET_END
#endif

/// The bytes of this form's vectors; 0 if the machine has none.
#if KERNEL_IS_VECTOR && KERNELS_WITH_AVX2
#define KERNEL_VECTOR_BYTES 32
#elif defined(__SSE2__) || defined(__ARM_NEON) || (KERNEL_IS_VECTOR && KERNELS_WITH_NEON)
#define KERNEL_VECTOR_BYTES 16
#else
#define KERNEL_VECTOR_BYTES 0
#endif

#define KERNELS_BEGIN                                                                              \
    KERNELS_TARGET inline namespace KERNEL_FORM                                                    \
    {
#define KERNELS_END                                                                                \
    }                                                                                              \
    KERNELS_TARGET_END

#define KERNEL_TAG_OF(form) form##Form
#define KERNEL_TAG_OF_FORM(form) KERNEL_TAG_OF(form)
/// PlainForm or VectorForm.
#define KERNEL_TAG KERNEL_TAG_OF_FORM(KERNEL_FORM)

enum class KernelForm { Plain, Vector };

struct PlainForm
{
};
struct VectorForm
{
};

/// The form that runs: the vector form if the machine has what it needs, unless the environment
/// variable INFRASTRUCTURE_KERNELS was "plain" when a kernel was first asked for. Any thread.
KernelForm getKernelForm();

/// What the machine can run, whatever the environment says.
bool hasVectorKernels();

/// The form that runs of a family of kernels.
template <typename Kernels>
const Kernels& getKernels()
{
    return getKernelForm() == KernelForm::Vector ? Kernels::of(VectorForm())
                                                 : Kernels::of(PlainForm());
}

/// For tests: while it exists, this form runs, in all threads. A machine without the vector form
/// runs the plain one all the same.
class ForcedKernels
{
public:
    explicit ForcedKernels(KernelForm form);
    ~ForcedKernels();
    ForcedKernels(const ForcedKernels&) = delete;
    ForcedKernels& operator=(const ForcedKernels&) = delete;

private:
    KernelForm before;
};
