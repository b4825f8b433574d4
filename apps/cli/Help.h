#pragma once
#include <string>

// The text of `mirrel --help` (empty topic) or `mirrel COMMAND --help`. Empty for an unknown
// topic.
std::string helpText(std::string const& topic);
std::string versionText();
