#include "linux/AutomationToolProgram.h"

#include "base/LocalizedError.h"
#include "linux/PipedProgram.h"

namespace vennic {

AutomationRun AutomationToolProgram::run(const QStringList& arguments, const std::optional<QByteArray>& input,
                                         std::stop_token stop) {
    using End = PipedProgram::End;
    PipedProgram program(executable_, arguments, input);
    switch (program.await(mostOutput, std::move(stop))) {
    case End::exited:
        return {program.number(), program.output(), program.error()};
    case End::signalled:
        return {128 + program.number(), program.output(), program.error()};
    case End::stopped:
        throw LocalizedError(QStringLiteral("L'automatisation a été interrompue."));
    case End::tooMuch:
        throw LocalizedError(QStringLiteral("L'automatisation écrit plus de %1 Mio.").arg(mostOutput >> 20));
    }
    Q_UNREACHABLE();
}

} // namespace vennic
