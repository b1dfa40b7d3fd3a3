// strlcpy and strlcat: from the C library where it has them, else from libbsd. Both give the length that they tried
// to make.

#pragma once

#include <string.h>

#if defined(__GLIBC__) && defined(__GLIBC_PREREQ)
#if !__GLIBC_PREREQ(2, 38)
#include <bsd/string.h>
#endif
#endif
