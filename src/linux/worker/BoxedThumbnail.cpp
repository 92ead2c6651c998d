#include "linux/worker/BoxedThumbnail.h"

#include "linux/worker/AnswerRecord.h"
#include "linux/worker/WorkerLane.h"

namespace vennic {

Thumbnail boxedThumbnail(WorkerLane& pictures, const OpenedDocument& document, int edge, std::stop_token stop) {
    const wire::Parameters parameters{.edge = static_cast<std::uint32_t>(edge)};
    const WorkerProcess::Reply reply = pictures.ask(wire::Form::thumbnail, parameters, document, std::move(stop));
    // The answer has been checked: it begins with a size, and the PNG after it has that size.
    const auto size = leadingRecordOf<wire::PictureSize>(reply.body).value();
    return {reply.body.sliced(sizeof size), static_cast<int>(size.width), static_cast<int>(size.height)};
}

} // namespace vennic
