# The two commands a fresh machine needs: `make run` and `make test`.
BUILD ?= build
JOBS ?= $(shell nproc)
CMAKE_FLAGS ?= -DCMAKE_BUILD_TYPE=RelWithDebInfo

.PHONY: setup build run test asan fuzz bench soak screenshots package install clean

setup:
	@scripts/setup.sh

build: setup
	@cmake -S . -B $(BUILD) $(CMAKE_FLAGS) >/dev/null
	@cmake --build $(BUILD) -j $(JOBS)

run: build
	$(BUILD)/bin/kelp

test: build
	cd $(BUILD) && QT_QPA_PLATFORM=offscreen ctest --output-on-failure -j $(JOBS)

asan: setup
	@cmake -S . -B build-asan -DCMAKE_BUILD_TYPE=Debug -DKELP_SANITIZE=ON >/dev/null
	@cmake --build build-asan -j $(JOBS)
	# The sanitizers make the windows several times slower; an end-to-end run at a fixed frame
	# rate that a loaded machine made lose a frame gets one more try (a second loss still fails).
	cd build-asan && QT_QPA_PLATFORM=offscreen ctest --output-on-failure -j $(JOBS) --repeat until-pass:2

# libFuzzer targets built with clang, each run FUZZ_SECONDS (default 60).
fuzz: setup
	@scripts/fuzz.sh

bench: build
	$(BUILD)/bin/bench_download
	$(BUILD)/bin/bench_sar_run
	$(BUILD)/bin/bench_statistics
	$(BUILD)/bin/bench_charts
	$(BUILD)/bin/bench_sd_run
	$(BUILD)/bin/bench_cli
	$(BUILD)/bin/bench_soak

soak: build
	$(BUILD)/bin/bench_soak

screenshots: build
	scripts/screenshots.sh

# The Debian package, kelp_<version>_<arch>.deb in $(BUILD).
package: build
	cd $(BUILD) && cpack -G DEB

# Into PREFIX (default /usr/local); `sudo make install PREFIX=...` where it is not yours.
PREFIX ?= /usr/local
install: build
	cmake --install $(BUILD) --prefix $(PREFIX)

clean:
	rm -rf $(BUILD) build-asan build-fuzz
