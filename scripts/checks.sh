# Sourced by the scripts that run tests, behind common.sh: counts what passed and what failed.

passed=0
failed=0

# check NAME COMMAND...: one thing that passes or fails.
check() {
  say "$1"
  if "${@:2}"; then
    passed=$((passed + 1))
  else
    failed=$((failed + 1))
    echo "FAILED: $1"
  fi
}

build() {
  configure "$1" -DVELMORA_BUILD_TESTS=ON "${@:2}" && cmake --build --preset "$1"
}

# How often the attributes named of a JUnit report say that a test had that end.
junit_sum() {
  local total=0 attribute number
  for attribute in "${@:2}"; do
    number=$(sed -n "s/^[[:space:]]*$attribute=\"\([0-9]*\)\".*/\1/p" "$1" | head -n 1)
    total=$((total + ${number:-0}))
  done
  echo "$total"
}

# run_tests PRESET: every test of one build. A run that gives no report is one failure.
run_tests() {
  say "Tests of build/$1"
  local report=$PWD/build/$1/tests.xml status=0
  rm -f "$report"
  ctest --preset "$1" -j 2 --output-junit "$report" || status=$?
  if [ ! -s "$report" ] || [ "$(junit_sum "$report" tests)" -eq 0 ]; then
    failed=$((failed + 1))
    return
  fi
  local total broken
  total=$(junit_sum "$report" tests)
  broken=$(junit_sum "$report" failures)
  passed=$((passed + total - broken - $(junit_sum "$report" skipped disabled)))
  failed=$((failed + broken))
  if [ "$status" -ne 0 ] && [ "$broken" -eq 0 ]; then failed=$((failed + 1)); fi
}

# Says how many passed and failed, and is false if any did.
all_passed() {
  say "All checks"
  echo "$passed passed, $failed failed"
  [ "$failed" -eq 0 ]
}
