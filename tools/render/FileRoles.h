#pragma once
// The files one run of the renderer reads and writes, checked against each
// other before any work starts: nothing it writes may be a file it reads, or
// a file it writes for another purpose. Files are compared as files, so a
// link, a hard link or another spelling of the same path ("./", "..") is
// caught; "-" (standard output, where an option takes it) is not a file.

struct RenderOptions;

// Throws a usage error naming both options when two roles fall on one file.
void checkFileRoles(const RenderOptions& options);
