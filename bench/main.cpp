#include "ratio_reporter.h"
#include "reading_bench.h"

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    tessaly::bench::registerReading();
    tessaly::bench::registerFormatting();
    tessaly::bench::registerDecoding();
    tessaly::bench::registerLibrary();
    tessaly::bench::RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    return 0;
}
