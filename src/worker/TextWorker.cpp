#include "worker/BoxedProgram.h"
#include "worker/TextReaders.h"

int main(int count, char** arguments) {
    using namespace vennic::worker;
    return runBoxed({.name = "vennic-worker", .warmUp = warmUpTextReaders, .rules = {}, .readers = textReaders()},
                    count, arguments);
}
