#pragma once

namespace vennic::server {

class AnswerChoices;
class ChosenAnswering;
class Router;

/// Whether the owner may choose here, or the command line has.
enum class ChosenBy { Owner, CommandLine };

/// The owner's calls about who answers: what is chosen, and another choice.
void addAnsweringRoutes(Router& router, ChosenAnswering& answering, AnswerChoices& choices, ChosenBy by);

} // namespace vennic::server
