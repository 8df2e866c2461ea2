# How script/mutants builds the tree: a mutant changes one file of the product, so those are compiled one by one and
# with their headers read before; the tests, which stay as they are, many files at a time.
set(CMAKE_UNITY_BUILD ON)
set(CMAKE_UNITY_BUILD_BATCH_SIZE 12)

function(read_headers_before target)
  set_target_properties(${target} PROPERTIES UNITY_BUILD OFF)
  target_precompile_headers(${target} PRIVATE ${ARGN})
endfunction()

function(prepare_product)
  set(common <algorithm> <chrono> <functional> <map> <memory> <mutex> <set> <sstream> <string> <vector>
      <boost/filesystem/operations.hpp> <boost/algorithm/string/predicate.hpp>)
  set(logging <boost/log/sources/severity_channel_logger.hpp> <boost/log/sources/record_ostream.hpp>)
  set(settings <Poco/Util/LayeredConfiguration.h>)
  set_target_properties(zant_logging PROPERTIES UNITY_BUILD OFF)
  read_headers_before(package_minder_objects ${common} ${logging} ${settings} <fmt/format.h>)
  read_headers_before(package_minder_host_objects ${common} ${logging} ${settings} <fmt/format.h> <nlohmann/json.hpp>)
  read_headers_before(package_minder_program ${common} ${logging} ${settings} <fmt/format.h> <nlohmann/json.hpp>)
endfunction()

cmake_language(DEFER CALL prepare_product)
