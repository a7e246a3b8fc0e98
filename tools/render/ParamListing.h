#pragma once
// --list-params: one line per parameter, tab separated: index, name, unit,
// minimum, maximum, default and (for choice rows) the choice words joined by
// "|". Values are shown through the effect's own formatting in its present
// state, so a --set of Scale or Shift shows in the band gains and frequencies.

#include <string>
#include <vector>

class Plug;

std::vector<std::string> parameterListing(Plug& fx);
