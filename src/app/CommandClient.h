#pragma once
#include "app/CommandLine.h"
#include "app/CommandMessage.h"
#include "app/Paths.h"
#include "ports/Instance.h"

namespace vennic {

/// Hands a verb to the running client and prints its answer: data and texts on standard output, reasons of failure
/// on standard error.
ExitStatus runVerb(const CommandLine& line, const Paths& paths, Instance& instance);

/// Prints an answer: its data for `json`, else its text.
ExitStatus printAnswer(const CommandAnswer& answer, bool json = false);

} // namespace vennic
