/* Included first in every source of the Windows build.  Function
   multiversioning (target_clones) needs ifunc, which PE executables lack:
   there each cloned function is built once, for the baseline target. */
#ifndef FENNEL_WIN_COMPAT_H
#define FENNEL_WIN_COMPAT_H
#define target_clones(...) unused
#endif
