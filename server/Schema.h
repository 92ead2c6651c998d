#pragma once

namespace vennic::server {

class Database;

/// Makes the tables of an empty database, and those that an older format lacks. Raises DatabaseError for a file of a
/// newer format.
void prepareSchema(Database& database);

} // namespace vennic::server
