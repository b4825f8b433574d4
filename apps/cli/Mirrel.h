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
void renderCommand(Options const& o, std::ostream& err);
void demoCommand(Options const& o);

// Video files in or out: decoded, rendered on --jobs threads and encoded in order.
void renderVideo(Options const& o, std::vector<Setting> const& settings,
                 std::vector<Param> const& declared, std::ostream& err);

// Shared by the renders of pictures and of videos.
// A render never writes over what it reads. Throws UsageError.
void refuseInputAsOutput(std::string const& input, std::string const& output);
// One frame through the effect as the options ask: proxy scale, field, channel order, controls.
Picture renderFrame(EffectSession& session, Options const& o, Picture picture, double frame);
// The settings resolved against `declared` (the parameters of another session), applied.
void applySettings(EffectSession& session, std::vector<Setting> settings,
                   std::vector<Param> const& declared);
// The file keeps the input's depth and metadata; alpha is written when asked, or in `auto` when
// the input had it or the result is not fully opaque.
FileLayout outputLayout(FileLayout layout, Options const& o, std::string const& input,
                        std::string const& output, Picture const& result);
// Threads for `frames` frames: --jobs, or one per core.
unsigned workerCount(Options const& o, size_t frames);

// The --set and --preset values of the options, resolved against the declared parameters.
std::vector<Setting> resolveValues(std::vector<ValueSource> const& sources,
                                   std::vector<Param> const& params);
