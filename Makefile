# Build, test, demo and benchmarks of ozn32lib and its host application.
BUILD ?= build
JOBS ?= 2
DATA_DIR ?= $(or $(OZN3_DATA_DIR),$(or $(XDG_DATA_HOME),$(HOME)/.local/share)/ozn3)
DEMO_DB := $(DATA_DIR)/ozn3.fdb

.PHONY: all build bootstrap check demo bench docs clean

all: build

$(BUILD)/build.ninja:
	cmake -S . -B $(BUILD) -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo

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

clean:
	rm -rf $(BUILD)
