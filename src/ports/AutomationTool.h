#pragma once
#include <QByteArray>
#include <QStringList>

#include <optional>
#include <stop_token>

namespace vennic {

/// How a run of the automation tool ended, and what it wrote.
struct AutomationRun {
    int status = 0;    // exit status; 128 + its number when a signal ended it, as shells count
    QByteArray output; // standard output
    QByteArray error;  // standard error
    bool operator==(const AutomationRun&) const = default;
};

/// The tool that knows the user's automations. "list" writes their names, one a line; "run" and a name runs that one,
/// with the input as its standard input.
class AutomationTool {
public:
    virtual ~AutomationTool() = default;
    /// Starts the tool and blocks until it ends, however long that takes. An absent `input` is nothing to read; an
    /// empty one is an empty standard input. When `stop` asks for it, the tool and what it runs are ended. From any
    /// thread. Raises LocalizedError, with the platform's own words when the tool can't be started, and when it was
    /// stopped, or ended well after it had written more than is taken.
    virtual AutomationRun run(const QStringList& arguments, const std::optional<QByteArray>& input,
                              std::stop_token stop) = 0;
};

} // namespace vennic
