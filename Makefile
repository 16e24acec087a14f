# Short commands for people: each installs what a fresh Debian 12 lacks, then calls CMake.
.PHONY: demo test sanitize clang arm bench format tidy clean

SUDO := $(if $(filter-out 0,$(shell id -u)),sudo)
BUILD := g++ cmake ninja-build libcli11-dev
# The tests compile the public header with every compiler it is made for, and run under two foreign
# locales.
TEST := $(BUILD) libgtest-dev clang-14 g++-arm-linux-gnueabihf locales binutils
ARM := $(TEST) googletest qemu-user
BENCH := g++ cmake ninja-build libbenchmark-dev nlohmann-json3-dev rapidjson-dev \
  libboost-json1.81-dev python3

# Installs those of the packages that are missing.
define need
	@missing=$$(for package in $(1); do \
	  dpkg-query -W -f='$${Status}' $$package 2>/dev/null | grep -q ' installed$$' || echo $$package; \
	done); \
	if [ -n "$$missing" ]; then \
	  $(SUDO) apt-get update -q && \
	  $(SUDO) env DEBIAN_FRONTEND=noninteractive \
	    apt-get install -y -q --no-install-recommends $$missing; \
	fi
endef

# Configures and builds a preset.
define build
	cmake --preset $(1) $(2)
	cmake --build --preset $(1)
endef

demo:
	$(call need,$(BUILD))
	$(call build,demo)
	sh examples/demo.sh build/demo/tools/vexo-variant

test:
	$(call need,$(TEST))
	$(call build,release)
	ctest --preset release

sanitize:
	$(call need,$(TEST))
	$(call build,sanitize)
	ctest --preset sanitize

clang:
	$(call need,$(TEST))
	$(call build,clang)
	ctest --preset clang

arm:
	$(call need,$(ARM))
	$(call build,arm)
	ctest --preset arm
	$(call build,arm-time64)
	ctest --preset arm-time64

bench:
	$(call need,$(BENCH))
	$(call build,bench)
	python3 bench/generate.py build/bench/data
	python3 bench/report.py build/bench/bench/vexo-bench build/bench/data $(BENCH_OPTIONS)

format:
	$(call need,clang-format)
	git ls-files '*.cpp' '*.h' | xargs clang-format -i

tidy:
	$(call need,$(TEST) clang-tidy)
	$(call build,clang)
	git ls-files 'src/*.cpp' 'platform/*.cpp' 'tools/*.cpp' | xargs clang-tidy-14 -p build/clang --quiet

clean:
	rm -rf build
