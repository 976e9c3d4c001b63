#pragma once

#include <kilnx/export.h>

/// The checksum of stored items: a reflected CRC of 64 bits with the polynomial
/// 0x95AC9329AC4BC9B5, started with all ones and returned without a final inversion, so that no
/// bytes at all give 0xFFFFFFFFFFFFFFFF and the digits "123456789" give 0xCAA717168609F281.
///
/// Long inputs are folded with carry-less multiplication where the processor has it (V. Gopal and
/// others, "Fast CRC Computation for Generic Polynomials Using PCLMULQDQ Instruction", 2009), and
/// are read sixteen bytes at a time through tables elsewhere. No call has a setup cost.
///
/// `data` may be null when `length`, in bytes, is 0.
extern "C" KILNX_EXPORT unsigned long long crc64(const void *data, unsigned int length);
