*> SPDX-License-Identifier: MIT
*>
*> The oracle of record_files_test.py.  "write" makes a file of every form and
*> prints what it put into each record; "copy" reads NAME.in of every form and
*> writes what it read to NAME.out.
identification division.
program-id. record-files.
environment division.
input-output section.
file-control.
    select fixed-out assign to "fixed.dat" organization sequential.
    select varying-out assign to "varying.dat" organization sequential.
    select layouts-out assign to "layouts.dat" organization sequential.
    select lines-out assign to "lines.dat" organization line sequential.
    select slots-out assign to "slots.dat" organization relative
        access mode random relative key slot.
    select short-slots-out assign to "shortslots.dat" organization relative
        access mode random relative key slot.

    select fixed-in assign to "fixed.in" organization sequential.
    select varying-in assign to "varying.in" organization sequential.
    select lines-in assign to "lines.in" organization line sequential.
    select slots-in assign to "slots.in" organization relative
        access mode sequential relative key slot.
    select fixed-copy assign to "fixed.out" organization sequential.
    select varying-copy assign to "varying.out" organization sequential.
    select lines-copy assign to "lines.out" organization line sequential.
    select slots-copy assign to "slots.out" organization relative
        access mode random relative key slot.

data division.
file section.
fd  fixed-out.
01  fixed-record            pic x(28).
fd  varying-out record varying from 4 to 28 depending on bytes.
01  varying-record          pic x(28).
*> Two layouts of different length make the records of a file vary, too.
fd  layouts-out.
01  layout-long             pic x(28).
01  layout-short            pic x(16).
fd  lines-out.
01  line-record             pic x(28).
fd  slots-out.
01  slot-record             pic x(28).
fd  short-slots-out record varying from 4 to 28 depending on bytes.
01  short-slot-record       pic x(28).

fd  fixed-in.
01  fixed-read              pic x(28).
fd  varying-in record varying from 4 to 28 depending on bytes.
01  varying-read            pic x(28).
fd  lines-in.
01  line-read               pic x(28).
fd  slots-in.
01  slot-read               pic x(28).
fd  fixed-copy.
01  fixed-copied            pic x(28).
fd  varying-copy record varying from 4 to 28 depending on bytes.
01  varying-copied          pic x(28).
fd  lines-copy.
01  line-copied             pic x(28).
fd  slots-copy.
01  slot-copied             pic x(28).

working-storage section.
01  command                 pic x(10).
01  slot                    pic 9(6).
01  bytes                   pic 9(6).
01  n                       pic 9(4).
01  at-end                  pic x value "n".
01  item.
    05  item-id             pic 9(4).
    05  item-amount         pic s9(5)v99 sign leading separate.
    05  item-name           pic x(16).
01  amount-shown            pic -(5)9.99.
01  names.
    05  pic x(16) value "plain".
    05  pic x(16) value "sixteen bytes ok".
    05  pic x(16) value spaces.
    05  pic x(16) value "  two in front".
    05  pic x(16) value "quote ' and """.
    05  pic x(16) value x"4DFC6C6C65722DDF2020202020202020".
    05  pic x(16) value "tab" & x"09" & "inside".
01  name-table redefines names.
    05  name-of             pic x(16) occurs 7.

procedure division.
main-line.
    accept command from command-line
    if command = "copy" perform copy-all else perform write-all end-if
    stop run.

make-item.
    compute item-id = n * 7
    compute item-amount = n * 123.45
    if function mod(n, 2) = 1 compute item-amount = item-amount * -1 end-if
    move name-of(function mod(n, 7) + 1) to item-name.

show-item.
    move item-amount to amount-shown
    display command " " n " " item-id " " amount-shown " [" item-name "]".

write-all.
    move "fixed" to command
    open output fixed-out
    perform varying n from 1 by 1 until n > 20
        perform make-item perform show-item
        write fixed-record from item
    end-perform
    close fixed-out

    move "lines" to command
    open output lines-out
    perform varying n from 1 by 1 until n > 20
        perform make-item perform show-item
        write line-record from item
    end-perform
    move spaces to line-record
    write line-record
    close lines-out

    move "varying" to command
    open output varying-out
    perform varying n from 1 by 1 until n > 20
        perform make-item
        compute bytes = 28 - function mod(n, 4) * 5
        perform show-item
        write varying-record from item
    end-perform
    close varying-out

    move "layouts" to command
    open output layouts-out
    perform varying n from 1 by 1 until n > 20
        perform make-item perform show-item
        if function mod(n, 3) = 0
            write layout-short from item
        else
            write layout-long from item
        end-if
    end-perform
    close layouts-out

*> Slots 1 and 2 are empty, as are those between; slot 20 is deleted again.
    move "slots" to command
    open output slots-out
    perform varying n from 1 by 1 until n > 10
        perform make-item perform show-item
        compute slot = n * 4
        write slot-record from item
    end-perform
    close slots-out
    open i-o slots-out
    move 20 to slot
    delete slots-out
    close slots-out

    move "shortslots" to command
    open output short-slots-out
    perform varying n from 1 by 1 until n > 10
        perform make-item
        compute bytes = 28 - function mod(n, 4) * 5
        perform show-item
        move spaces to short-slot-record
        move item(1:bytes) to short-slot-record
        compute slot = n * 2
        write short-slot-record
    end-perform
    close short-slots-out.

copy-all.
    open input fixed-in output fixed-copy
    move "n" to at-end
    perform until at-end = "y"
        read fixed-in at end move "y" to at-end
            not at end move fixed-read to fixed-copied write fixed-copied
        end-read
    end-perform
    close fixed-in fixed-copy

    open input varying-in output varying-copy
    move "n" to at-end
    perform until at-end = "y"
        read varying-in at end move "y" to at-end
            not at end move varying-read to varying-copied write varying-copied
        end-read
    end-perform
    close varying-in varying-copy

    open input lines-in output lines-copy
    move "n" to at-end
    perform until at-end = "y"
        read lines-in at end move "y" to at-end
            not at end move line-read to line-copied write line-copied
        end-read
    end-perform
    close lines-in lines-copy

    open input slots-in output slots-copy
    move "n" to at-end
    perform until at-end = "y"
        read slots-in at end move "y" to at-end
            not at end move slot-read to slot-copied write slot-copied
        end-read
    end-perform
    close slots-in slots-copy.
