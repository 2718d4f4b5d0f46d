# The two commands a newcomer runs: `make demo` and `make test`. Both install what is missing
# first (scripts/setup.sh), so they work on a fresh Debian machine.
BUILD ?= build
# One clang build with AddressSanitizer and UndefinedBehaviorSanitizer serves the fuzzers and
# `make test-asan`: the library is instrumented for libFuzzer's coverage too, which costs the tests
# little and saves compiling it twice on two cores.
ASAN_BUILD ?= build-asan
TSAN_BUILD ?= build-tsan
FUZZ_SECONDS ?= 60
JOBS ?= $(shell nproc)
EXAMPLE := examples/Demo.vorno

.PHONY: all setup build build-program test test-asan test-tsan demo demo-captures fuzz bench goldens install uninstall deb clean

all: build

setup:
	@bash scripts/setup.sh

$(BUILD)/build.ninja:
	cmake -S . -B $(BUILD) -G Ninja

build: setup $(BUILD)/build.ninja
	cmake --build $(BUILD) -j $(JOBS)

# The MCP client tests' packages, exactly as the lock file pins them.
MCP_CLIENT := tests/mcp_client
$(MCP_CLIENT)/node_modules/.package-lock.json: $(MCP_CLIENT)/package-lock.json $(MCP_CLIENT)/package.json
	cd $(MCP_CLIENT) && npm ci --no-audit --no-fund

# Claude Code's command line, for the end-to-end test of `vorno setup`, pinned the same way.
AGENT_SETUP := tests/agent_setup
$(AGENT_SETUP)/node_modules/.package-lock.json: $(AGENT_SETUP)/package-lock.json $(AGENT_SETUP)/package.json
	cd $(AGENT_SETUP) && npm ci --no-audit --no-fund

test: build $(MCP_CLIENT)/node_modules/.package-lock.json $(AGENT_SETUP)/node_modules/.package-lock.json
	cd $(BUILD) && ctest --output-on-failure -j $(JOBS)

# Rewrites tests/golden/*.png from the current renderer, after a deliberate change of the
# pictures. Look at every changed golden before committing it.
goldens: build
	VORNO_UPDATE_GOLDENS=1 $(BUILD)/vorno_tests --gtest_filter='*Golden*'

# The example's slide and creative ids, targets and locales, read from its project.json (node is
# installed by scripts/setup.sh).
EXAMPLE_LIST = node -e 'const p = require("./$(EXAMPLE)/project.json"); \
  const ids = {slides: p.slides.map(s => s.id), creatives: (p.creatives || []).map(c => c.id), \
  targets: p.targets, locales: p.locales}; console.log(ids[process.argv[1]].join(" "))'

# Lints the example, then renders its overview for every target and locale, every slide for every
# target and locale, and each creative once per locale (a creative has its own canvas; one in
# motion also as a filmstrip of its loop), into $(EXAMPLE)/renders; then exports the whole set in
# the vorno layout into $(EXAMPLE)/exports, a creative in motion as its poster PNG and its MP4,
# and prints the summary.
demo: build
	$(BUILD)/vorno lint --project $(EXAMPLE)
	@set -e; \
	targets="$$($(EXAMPLE_LIST) targets)"; locales="$$($(EXAMPLE_LIST) locales)"; \
	for t in $$targets; do for l in $$locales; do \
	  $(BUILD)/vorno overview --project $(EXAMPLE) --target $$t --locale $$l; \
	  for s in $$($(EXAMPLE_LIST) slides); do \
	    $(BUILD)/vorno render --project $(EXAMPLE) --slide $$s --target $$t --locale $$l; \
	  done; \
	done; done; \
	for c in $$($(EXAMPLE_LIST) creatives); do for l in $$locales; do \
	  $(BUILD)/vorno render --project $(EXAMPLE) --slide $$c --locale $$l; \
	  $(BUILD)/vorno render --project $(EXAMPLE) --slide $$c --locale $$l --filmstrip; \
	done; done
	@echo "The demo's renders are in $(EXAMPLE)/renders/"
	$(BUILD)/vorno export --project $(EXAMPLE) --layout vorno

# Builds the benchmark programs (bench/) into $(BUILD); `make test` leaves them out.
bench: setup $(BUILD)/build.ninja
	cmake --build $(BUILD) -j $(JOBS) --target benchmarks

# Paints the example app's screens again into $(EXAMPLE)/captures and its icon into assets/.
demo-captures: build
	cmake --build $(BUILD) -j $(JOBS) --target demo_captures
	$(BUILD)/demo_captures $(EXAMPLE)

SANITIZE_FLAGS := -O1 -g1
$(ASAN_BUILD)/build.ninja:
	CC=clang CXX=clang++ cmake -S . -B $(ASAN_BUILD) -G Ninja -DVORNO_FUZZ=ON -DCMAKE_BUILD_TYPE=Sanitize \
	  -DCMAKE_C_FLAGS="$(SANITIZE_FLAGS) -fsanitize=address,undefined,fuzzer-no-link -fno-sanitize-recover=undefined" \
	  -DCMAKE_CXX_FLAGS="$(SANITIZE_FLAGS) -fsanitize=address,undefined,fuzzer-no-link -fno-sanitize-recover=undefined"

FUZZ_TARGETS := $(patsubst fuzz/%_fuzzer.cc,%,$(wildcard fuzz/*_fuzzer.cc))

# Runs every fuzz target for FUZZ_SECONDS each, one at a time, and prints per target executions,
# coverage and finds. New inputs are kept in fuzz/corpus/<target>, finds in fuzz/artifacts/<target>.
fuzz: setup $(ASAN_BUILD)/build.ninja
	cmake --build $(ASAN_BUILD) -j $(JOBS) --target $(addprefix fuzz_,$(FUZZ_TARGETS))
	fuzz/run_fuzzers.sh $(ASAN_BUILD) $(FUZZ_SECONDS)

# The whole suite under AddressSanitizer and UndefinedBehaviorSanitizer, the fuzz replay included.
# The two Node suites are left out: they drive the program through npm packages for minutes, and
# the MCP server they reach is covered by the unit tests here. The options reach the `vorno`
# processes the tests start too; the leak check keeps quiet about the suppressions it used, since
# tests read those processes' standard error word for word.
test-asan: setup $(ASAN_BUILD)/build.ninja
	cmake --build $(ASAN_BUILD) -j $(JOBS) --target vorno vorno_tests vorno_fuzz_replay
	cd $(ASAN_BUILD) && ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 \
	  LSAN_OPTIONS=suppressions=$(CURDIR)/fuzz/lsan.supp:print_suppressions=0 \
	  ctest --output-on-failure -j $(JOBS) -E '^(MCPClient|AgentSetup)\.'

# ThreadSanitizer on what runs on several threads: the caches, the thread pool, the exporter, and
# both servers. Only those suites are compiled (VORNO_SANITIZER_TESTS), then run by filter.
TSAN_TESTS := src/kit/util/lru_cache_test.cc src/kit/util/thread_pool_test.cc \
  src/kit/image/image_cache_test.cc src/kit/render/layer_cache_test.cc \
  src/kit/devices/corner_radius_cache_test.cc src/kit/devices/device_fixtures_test.cc src/kit/export/exporter_test.cc \
  src/mcp/server_test.cc src/mcp/server_robustness_test.cc src/mcp/stdio_transport_test.cc \
  src/server/vorno_server_test.cc src/server/idle_memory_test.cc
TSAN_FILTER ?= *
$(TSAN_BUILD)/build.ninja:
	CC=clang CXX=clang++ cmake -S . -B $(TSAN_BUILD) -G Ninja -DCMAKE_BUILD_TYPE=Sanitize \
	  -DCMAKE_C_FLAGS="$(SANITIZE_FLAGS) -fsanitize=thread" -DCMAKE_CXX_FLAGS="$(SANITIZE_FLAGS) -fsanitize=thread" \
	  -DVORNO_SANITIZER_TESTS="$(subst $(eval) ,;,$(strip $(TSAN_TESTS)))"

# The list is given again on every run: an existing build keeps the one it was configured with.
# The suppressions (tests/tsan.supp) cover libraries whose own atomics ThreadSanitizer can't see;
# die_after_fork=0 lets the servers' tests fork a child that starts threads, as `vorno mcp` does.
test-tsan: setup $(TSAN_BUILD)/build.ninja
	cmake -S . -B $(TSAN_BUILD) -DVORNO_SANITIZER_TESTS="$(subst $(eval) ,;,$(strip $(TSAN_TESTS)))" > /dev/null
	cmake --build $(TSAN_BUILD) -j $(JOBS) --target vorno_sanitizer_tests
	TSAN_OPTIONS="halt_on_error=1 second_deadlock_stack=1 die_after_fork=0 suppressions=$(CURDIR)/tests/tsan.supp" \
	  $(TSAN_BUILD)/vorno_sanitizer_tests --gtest_filter='$(TSAN_FILTER)'

# The program alone, for installing and packaging: the tests and benchmarks are not needed.
build-program: setup $(BUILD)/build.ninja
	cmake --build $(BUILD) -j $(JOBS) --target vorno

# Installs bin/vorno and share/vorno under PREFIX (DESTDIR is put in front, for staging). The
# program finds its resources from its own place, so any PREFIX works.
PREFIX ?= /usr/local
install: build-program
	DESTDIR="$(DESTDIR)" cmake --install $(BUILD) --prefix "$(PREFIX)"

# Removes what `make install` put under the same PREFIX: the program and its share folder, which
# holds nothing but vorno's own files.
uninstall:
	rm -f "$(DESTDIR)$(PREFIX)/bin/vorno"
	rm -rf "$(DESTDIR)$(PREFIX)/share/vorno"

# A Debian package of the program and its resources: $(BUILD)/vorno_<version>_amd64.deb, with its
# runtime dependencies declared, for `apt-get install ./vorno_<version>_amd64.deb`.
deb: build-program
	cd $(BUILD) && cpack -G DEB
	@ls $(BUILD)/vorno_*.deb

clean:
	rm -rf $(BUILD) $(ASAN_BUILD) $(TSAN_BUILD)
