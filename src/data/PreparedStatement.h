#pragma once

namespace oquivran {

// A statement a database prepared on its connection, as its StatementDriver keeps it: the
// pipeline owns it (in its cache, or for one run) and hands it back to the driver to run.
// Releasing it releases it on the database.
class PreparedStatement
{
public:
    PreparedStatement() = default;
    PreparedStatement(const PreparedStatement&) = delete;
    PreparedStatement& operator=(const PreparedStatement&) = delete;
    virtual ~PreparedStatement() = default;
};

} // namespace oquivran
