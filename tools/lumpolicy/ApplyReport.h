/// @file
/// What is told of an apply to one node, step by step.
#pragma once

#include <string>
#include <vector>

#include "common/Command.h"
#include "common/Outcome.h"
#include "lumpolicy/ApplyPlan.h"

namespace lumpolicy::report {

/// The members "changed" (whether anything is otherwise now, or would be), "counts" and "policies": an object for each
/// step with "id", "name", "type", "file", "action" (create, change, remove, unchanged), "differences" and "diff" as
/// far as there are any, and once it has ended "result" and "code". With a dry run "dry_run" too.
/// @param diffs  one for each step; may be empty texts
void Begin(const std::vector<Step>& steps, const std::vector<std::string>& diffs, bool dryRun,
           lumtools::Answer& answer);
/// A step was sent, and nobody knows of its end.
void Send(std::size_t index, lumtools::Answer& answer);
/// A step has ended: its messages join those of the answer, whose code is that of the first failure.
void End(std::size_t index, const lumtools::Outcome& outcome, lumtools::Answer& answer);
/// All have ended.
void Close(const std::string& host, lumtools::Answer& answer);
/// The user has ended it, with the code that the answer bears. @param wanted  stand there where nothing was planned yet
void EndEarly(const std::vector<DesiredPolicy>& wanted, lumtools::Answer& answer);

/// A part's messages and code join the whole.
void Join(lumtools::Outcome& whole, const lumtools::Outcome& part);
/// Whether it is done, told or not.
bool IsDone(const lumtools::Outcome& outcome);

}  // namespace lumpolicy::report
