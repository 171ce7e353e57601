// Reads all values of one function in blocks of a day, as a program would, and says how long it
// took:
//   block_reader DB
// python_benchmark.py runs it beside Python.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <string>
#include <vector>

#include <mersola/mersola.h>

int main(int argc, char** argv) {
    if (argc != 2) return 2;
    constexpr int kDay = 86400, kBands = 36;
    Mersola store("", "", ("Provider=SQLite;Mode=Read;Data Source=" + std::string(argv[1])).c_str(),
                  30);
    store.SetInstrument(1);
    if (!store.SetMeasurement(1) || !store.SetReport(1)) return 1;
    store.SetChannel(1);
    store.SetFunction(1);
    long first = 0, last = 0;
    if (!store.GetStoredPeriods(first, last)) return 1;
    const auto begun = std::chrono::steady_clock::now();
    double sum = 0;
    for (long period = first; period <= last; period += kDay) {
        const int periods = static_cast<int>(std::min<long>(kDay, last + 1 - period));
        std::vector<float> block(static_cast<std::size_t>(periods) * kBands);
        std::vector<char> status(block.size());
        if (store.GetStoredData(block.data(), static_cast<int>(period), periods, 1, kBands,
                                status.data()) != periods)
            return 1;
        sum += static_cast<double>(block.front());
    }
    const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - begun;
    std::printf("%f %f\n", passed.count(), sum);
}
