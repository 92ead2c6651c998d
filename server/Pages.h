#pragma once

namespace vennic::server {

class Router;

/// The pages of the owner (console and pairing) with their styles and scripts, out of the program itself.
void addPages(Router& router);

} // namespace vennic::server
