// The program's commands. Each returns an exit code, prints its own errors, and throws nothing of its own.
// With Options::json a command prints exactly one JSON document on standard output, whatever happens;
// docs/gpc.md describes it.

#pragma once

#include "options.h"

namespace Vantor::gpctool {

int compileCommand(const Options& options);
int checkCommand(const Options& options);
int preprocessCommand(const Options& options);
int disassembleCommand(const Options& options);
int runCommand(const Options& options);
int translatorCommand(const Options& options);

} // namespace Vantor::gpctool
