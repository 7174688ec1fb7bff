// The container the XPML requests carry (zlib deflate in a "ZLIB" header,
// then Base64) against zlib's own compress2 at the same level on the same
// bytes: the ratio of the two is what the container and the encoding cost
// on top of the compression itself.
#include <benchmark/benchmark.h>
#include <zlib.h>

#include <cstdlib>
#include <string>

#include "driver/xpml_encoding.h"

namespace {

// A label format as a driver sends it: repeated commands with changing
// fields, so the data compresses about as much as real requests do.
std::string LabelData(size_t size) {
  std::string data;
  for (int n = 0; data.size() < size; ++n) {
    data += "^FO" + std::to_string(20 + n % 400) + ",40^A0N,30,30^FDItem " + std::to_string(n) +
            " lot " + std::to_string(n * 7919 % 100000) + "^FS\n";
  }
  data.resize(size);
  return data;
}

void BM_Lz77CompressAndBase64Encode(benchmark::State& state) {
  const std::string input = LabelData(state.range(0));
  for (auto _ : state) {
    std::string buffer = input;
    if (!vantrel::Lz77Compress(&buffer) || !vantrel::Base64Encode(&buffer)) std::abort();
    benchmark::DoNotOptimize(buffer);
  }
  state.SetBytesProcessed(state.iterations() * input.size());
}
BENCHMARK(BM_Lz77CompressAndBase64Encode)->Arg(4 << 10)->Arg(1 << 20);

void BM_ZlibCompress2Level6(benchmark::State& state) {
  const std::string input = LabelData(state.range(0));
  std::string output(compressBound(input.size()), '\0');
  for (auto _ : state) {
    uLongf size = output.size();
    if (compress2(reinterpret_cast<Bytef*>(output.data()), &size,
                  reinterpret_cast<const Bytef*>(input.data()), input.size(), 6) != Z_OK) {
      std::abort();
    }
    benchmark::DoNotOptimize(output);
  }
  state.SetBytesProcessed(state.iterations() * input.size());
}
BENCHMARK(BM_ZlibCompress2Level6)->Arg(4 << 10)->Arg(1 << 20);

}  // namespace

// One large compression before measuring: glibc moves its mmap and trim
// thresholds after the first large free, and without this the first small
// case runs under other allocator conditions than the second.
int main(int argc, char** argv) {
  std::string warm = LabelData(1 << 20);
  if (!vantrel::Lz77Compress(&warm)) return 1;
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
