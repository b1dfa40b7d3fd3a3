// One operation under two names: the public one, prefix Lu, is defined; the internal one, prefix Tav, is the same
// symbol.

#pragma once

/// In a header: declares `name` with the type of `operation`, which is declared above it.
#define TAV_DECLARE_ALIAS(name, operation) extern __typeof__(operation) name
/// In the source that defines `operation`.
#define TAV_DEFINE_ALIAS(name, operation) extern "C" __typeof__(operation) name __attribute__((__alias__(#operation)))
