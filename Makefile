# The two commands of the README: `make demo` and `make test`. Both install the
# Debian packages they need first. Other targets are for developers.

NATIVE    := build
WINDOWS   := build-windows
FUZZ      := build-fuzz
CLANG     := build-clang
CMAKE_GEN := -G Ninja -DPython3_EXECUTABLE=/usr/bin/python3

.PHONY: demo test deps native windows fuzz thread-safety test-asan test-tsan fuzz-long bench \
  format format-check tidy clean

demo: native
	scripts/demo $(NATIVE)

test: thread-safety native windows fuzz
	scripts/run-tests --format --native $(NATIVE) --windows $(WINDOWS) --fuzz $(FUZZ)

deps:
	@scripts/install-deps

native: deps
	cmake -S . -B $(NATIVE) $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
	ninja -C $(NATIVE)

windows: deps
	cmake -S . -B $(WINDOWS) $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=Release \
	  -DCMAKE_TOOLCHAIN_FILE=cmake/windows-toolchain.cmake >/dev/null
	ninja -C $(WINDOWS)

fuzz: deps
	CC=clang CXX=clang++ cmake -S . -B $(FUZZ) $(CMAKE_GEN) -DVANTREL_FUZZ=ON >/dev/null
	ninja -C $(FUZZ)

# Every source the native build compiles, checked by Clang's thread-safety
# analysis (front end only: nothing is generated or linked).
thread-safety: deps
	CC=clang CXX=clang++ cmake -S . -B $(CLANG) $(CMAKE_GEN) >/dev/null
	scripts/thread-safety-check $(CLANG)

# The native suites under AddressSanitizer+UBSan and under ThreadSanitizer.
test-asan: deps
	cmake -S . -B build-asan $(CMAKE_GEN) -DVANTREL_SANITIZE=address >/dev/null
	ninja -C build-asan
	scripts/run-tests --native build-asan

test-tsan: deps
	cmake -S . -B build-tsan $(CMAKE_GEN) -DVANTREL_SANITIZE=thread >/dev/null
	ninja -C build-tsan
	scripts/run-tests --native build-tsan

# Each fuzz target for ten minutes instead of the short run of `make test`.
fuzz-long: fuzz
	scripts/run-fuzz $(FUZZ) 600

# The benchmark ratios, each against its baseline measured in the same run.
bench: native
	scripts/bench-ratio $(NATIVE)/bin/xpml_encoding_bench \
	  BM_Lz77CompressAndBase64Encode BM_ZlibCompress2Level6
	scripts/bench-ratio $(NATIVE)/bin/xpml_round_trip_bench \
	  BM_StateRequestOverKeptConnection BM_StateRequestOverNewConnection \
	  BM_StateRequestOverKeptConnection BM_BareHttpExchangeOverKeptConnection
	scripts/bench-ratio $(NATIVE)/bin/settings_read_bench \
	  BM_PrinterRegistryWarmRead BM_BareSqlitePointQuery
	scripts/bench-ratio $(NATIVE)/bin/spooler_list_bench \
	  BM_SpoolerEnumPrinters2 BM_OneCupsGetPrintersRequest
	scripts/bench-ratio $(NATIVE)/bin/send_file_bench BM_PrinterSendFile BM_LpRaw

format:
	git ls-files '*.h' '*.cc' '*.c' | xargs clang-format -i

# Fails when a tracked C or C++ file is not formatted (also part of `make test`).
format-check:
	scripts/check-format

tidy: native
	git ls-files 'src/*.cc' | xargs clang-tidy -p $(NATIVE) --quiet

clean:
	rm -rf $(NATIVE) $(WINDOWS) $(FUZZ) $(CLANG) build-asan build-tsan
