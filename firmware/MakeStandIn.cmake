# Writes the stand-in payload: TEXT, then numbered lines up to a realistic size, to OUT. The
# numbers make each block another one, so that blocks in the wrong order are noticed. The size is
# no multiple of a block, and ends in more than one whole word, which the cipher keeps exactly.
set(lines 790)

file(READ ${TEXT} payload)
foreach(number RANGE 1 ${lines})
    string(APPEND payload "Line ${number} of the stand-in firmware: it stands for program code.\n")
endforeach()
string(LENGTH "${payload}" length)
math(EXPR excess "${length} % 8")
math(EXPR length "${length} - ${excess}")
string(SUBSTRING "${payload}" 0 ${length} payload)
file(WRITE ${OUT} "${payload}")
