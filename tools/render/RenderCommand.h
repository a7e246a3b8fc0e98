#pragma once
// The whole of fenwoldrine-render behind main(): parses the arguments, lists
// parameters or renders, and turns failures into one line on err and an exit
// status (see ExitStatus).

#include <cstdio>
#include <string>
#include <vector>

int runRenderCommand(const std::vector<std::string>& args, std::FILE* out, std::FILE* err);
