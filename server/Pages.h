#pragma once

namespace vennic::server {

class Router;

/// The pages of the owner (console, pairing and discussions) with their styles and scripts, out of the program itself.
void addPages(Router& router);

} // namespace vennic::server
