#include "worker/ImageText.h"

#include "worker/ImageFile.h"
#include "worker/TextRecognition.h"

namespace vennic::worker {

ReadResult readImageText(const Document& document, const wire::Parameters&) {
    Picture picture = decodeImage(document.bytes());
    return picture ? recognizedText(std::move(picture)) : ReadResult::unparsable();
}

} // namespace vennic::worker
