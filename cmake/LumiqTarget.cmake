# SPDX-FileCopyrightText: 2026 The Lumiq camera back end authors
# SPDX-License-Identifier: Apache-2.0
#
# lumiq_target(<target>): what every target of ours has in common. Called by each room for its
# targets.

function(lumiq_target target)
  target_compile_features(${target} PRIVATE cxx_std_20)
  set_target_properties(${target} PROPERTIES
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON)
  target_compile_options(${target} PRIVATE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion
    $<$<CXX_COMPILER_ID:Clang>:-Wthread-safety>
    $<$<BOOL:${LUMIQ_WERROR}>:-Werror>)
  if(LUMIQ_SANITIZE)
    target_compile_options(${target} PRIVATE
      -fsanitize=${LUMIQ_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    target_link_options(${target} PRIVATE -fsanitize=${LUMIQ_SANITIZE})
  endif()
endfunction()
