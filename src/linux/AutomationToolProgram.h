#pragma once
#include "ports/AutomationTool.h"

namespace vennic {

/// The tool as a program beside ours, started without a shell. It leads a session of its own: a run ends when the tool
/// does, and what it started in the background goes on.
class AutomationToolProgram final : public AutomationTool {
public:
    /// The most that is taken of standard output, and of standard error. Who writes more goes on undisturbed: a run
    /// that ends well raises then, and one that fails says nothing but its status.
    static constexpr qsizetype mostOutput = qsizetype{64} << 20;

    /// `executable` is an absolute path.
    explicit AutomationToolProgram(QString executable) : executable_(std::move(executable)) {}

    AutomationRun run(const QStringList& arguments, const std::optional<QByteArray>& input,
                      std::stop_token stop) override;

private:
    QString executable_;
};

} // namespace vennic
