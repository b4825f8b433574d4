#pragma once
#include "apps/cli/CommandLine.h"
#include "apps/common/EffectSession.h"

#include <iosfwd>
#include <string>
#include <vector>

// The mirrel command. Answers the exit status: 0 done, 1 failure, 2 usage error; messages go to
// `err` prefixed "mirrel: ".
int runMirrel(std::vector<std::string> const& args, std::ostream& out, std::ostream& err);

// The commands, for runMirrel. They throw UsageError or Failure.
void renderCommand(Options const& o);
void demoCommand(Options const& o);

// The --set and --preset values of the options, resolved against the declared parameters.
std::vector<Setting> resolveValues(std::vector<ValueSource> const& sources,
                                   std::vector<Param> const& params);
