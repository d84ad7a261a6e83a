// SPDX-License-Identifier: MIT
    .section .rodata
    .balign 16
    .global kxoriginBlueMarble
    .hidden kxoriginBlueMarble
    .global kxoriginBlueMarbleEnd
    .hidden kxoriginBlueMarbleEnd
kxoriginBlueMarble:
    .incbin KXTILE_BLUE_MARBLE
kxoriginBlueMarbleEnd:
    .byte 0

    .section .note.GNU-stack, "", %progbits
