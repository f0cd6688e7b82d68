# array_of(FILE NAME VARIABLE): the definition of an array with the file's bytes
function(array_of file name variable)
    file(READ ${file} digits HEX)
    string(REGEX REPLACE "(................................)" "\\1\n" digits "${digits}")
    string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," digits "${digits}")
    set(${variable} "const unsigned char ${name}[] = {\n${digits}\n};\n" PARENT_SCOPE)
endfunction()
