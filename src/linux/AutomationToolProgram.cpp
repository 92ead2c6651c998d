#include "linux/AutomationToolProgram.h"

#include "base/LocalizedError.h"
#include "linux/PipedProgram.h"

namespace vennic {

AutomationRun AutomationToolProgram::run(const QStringList& arguments, const std::optional<QByteArray>& input,
                                         std::stop_token stop) {
    using End = PipedProgram::End;
    PipedProgram program(executable_, arguments, input);
    const End end = program.await(mostOutput, std::move(stop));
    if (end == End::stopped)
        throw LocalizedError(QStringLiteral("L'automatisation a été interrompue."));
    const int status = end == End::signalled ? 128 + program.number() : program.number();
    if (status == 0 && !program.output().isWhole)
        throw LocalizedError(
            QStringLiteral("L'automatisation est allée à son terme, mais elle a écrit plus de %1 Mio : "
                           "sa réponse n'est pas transmise.")
                .arg(mostOutput >> 20));
    return {status, program.output().text, program.error().isWhole ? program.error().text : QByteArray()};
}

} // namespace vennic
