# Build, test, demo and benchmarks of ozn32lib and its host application.
BUILD ?= build
JOBS ?= 2
DATA_DIR ?= $(or $(OZN3_DATA_DIR),$(or $(XDG_DATA_HOME),$(HOME)/.local/share)/ozn3)
DEMO_DB := $(DATA_DIR)/ozn3.fdb
# Extra options of the first configure, e.g. CMAKE_ARGS=-DOZN3_WERROR=ON.
CMAKE_ARGS ?=
SANITIZE_BUILD ?= build-sanitize
# The suites of the calculations, stores and command line that the sanitizer build runs.
SANITIZE_SUITES := host_tests feeders_tests normative_tests profiles_tests
FORMATTED := $(shell git ls-files 'src/*.cpp' 'src/*.h' 'tests/*.cpp' 'tests/*.h' 'bench/*.cpp' 'bench/*.h' 'fuzz/*.cpp' 2>/dev/null)

.PHONY: all build bootstrap check demo bench docs clean format format-check sanitize

all: build

$(BUILD)/build.ninja:
	cmake -S . -B $(BUILD) -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo $(CMAKE_ARGS)

build: $(BUILD)/build.ninja
	cmake --build $(BUILD) -j$(JOBS)

bootstrap:
	scripts/bootstrap

check: bootstrap
	$(MAKE) build
	cd $(BUILD) && QT_QPA_PLATFORM=offscreen ctest --output-on-failure -j$(JOBS)

# The main window on the embedded default database, generated on first use.
demo: bootstrap
	$(MAKE) build
	mkdir -p "$(DATA_DIR)"
	test -f "$(DEMO_DB)" || $(BUILD)/bin/ozn3 demo-db "$(DEMO_DB)" --size small
	OZN3_DATA_DIR="$(DATA_DIR)" $(BUILD)/bin/ozn3

bench: bootstrap
	$(MAKE) build
	scripts/bench $(BUILD)

# The pictures of the user's guide (docs/guide.md), taken from the running application on the demo network.
docs: bootstrap
	$(MAKE) build
	scripts/docs $(BUILD)

# The sources in the repository's format (.clang-format): format-check fails on the first file that is not.
format:
	clang-format -i $(FORMATTED)

format-check: bootstrap
	clang-format --dry-run --Werror $(FORMATTED)

# The model's suites built with AddressSanitizer and UndefinedBehaviorSanitizer: any report fails the run.
sanitize: bootstrap
	test -f $(SANITIZE_BUILD)/build.ninja || cmake -S . -B $(SANITIZE_BUILD) -G Ninja -DCMAKE_BUILD_TYPE=Debug \
	  -DCMAKE_CXX_FLAGS_DEBUG="-O0 -g0" -DOZN3_SANITIZE=ON -DOZN3_WERROR=ON $(CMAKE_ARGS)
	cmake --build $(SANITIZE_BUILD) -j$(JOBS) --target ozn3 $(SANITIZE_SUITES)
	cd $(SANITIZE_BUILD) && ASAN_OPTIONS=detect_leaks=0:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1 \
	  QT_QPA_PLATFORM=offscreen ctest --output-on-failure -j$(JOBS) -R '^($(subst $() ,|,$(SANITIZE_SUITES)))$$'

clean:
	rm -rf $(BUILD) $(SANITIZE_BUILD)
