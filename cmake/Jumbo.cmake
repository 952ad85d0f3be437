# Jumbo sources: the compiler reads the headers of a folder once for many sources instead of once for each.
#
# CMake's own UNITY_BUILD writes absolute paths into its sources, so that the compiler cache would miss in every other
# clone. These include each source by its path below an include root, and are the same wherever the clone lies.

option(JUMBO "Compile the sources of a target together; OFF compiles each alone" ON)

# jumbo_sources(OUT TARGET FOLDER BATCH SOURCES…): sets OUT to what the target shall compile.
function(jumbo_sources out target folder batch)
    set(result "")
    if(NOT JUMBO OR NOT ARGN)
        set(${out} ${ARGN} PARENT_SCOPE)
        return()
    endif()
    set(index 0)
    set(count 0)
    set(content "")
    set(sources ${ARGN})
    list(LENGTH sources total)
    # Batches of equal length, so that two jobs end together.
    math(EXPR batches "(${total} + ${batch} - 1) / ${batch}")
    math(EXPR length "(${total} + ${batches} - 1) / ${batches}")
    foreach(source IN LISTS sources)
        string(APPEND content "#include \"${folder}/${source}\"\n")
        math(EXPR count "${count} + 1")
        math(EXPR filled "${count} % ${length}")
        if(filled EQUAL 0 OR count EQUAL total)
            set(file ${CMAKE_CURRENT_BINARY_DIR}/jumbo/${target}_${index}.cpp)
            file(CONFIGURE OUTPUT ${file} CONTENT "${content}" @ONLY)
            list(APPEND result ${file})
            set(content "")
            math(EXPR index "${index} + 1")
        endif()
    endforeach()
    set(${out} ${result} PARENT_SCOPE)
endfunction()
