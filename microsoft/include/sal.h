// In front of mingw-w64's header of this name, which lacks these.
#pragma once

#include_next <sal.h>

#define _Analysis_assume_lock_held_(lock)
#define _Printf_format_string_
#define _Deref_post_opt_valid_
