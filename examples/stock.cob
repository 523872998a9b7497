*> SPDX-License-Identifier: MIT
*>
*> Makes the stock of the demo: a relative file, stock.dat, with one record a
*> bin of the store.  Every fifth bin is empty.
identification division.
program-id. stock.

environment division.
input-output section.
file-control.
    select stock assign to "stock.dat"
        organization is relative
        access mode is random
        relative key is bin
        file status is file-status.

data division.
file section.
fd  stock.
01  stock-record.
    05  stock-item          pic x(10).
    05  stock-text          pic x(24).
    05  stock-quantity      pic s9(9) comp-5.
    05  stock-price         pic s9(4)v9(3) comp-3.
    05  stock-weight        comp-2.
    05  stock-counted       pic 9(8).

working-storage section.
01  file-status             pic xx.
01  bin-count               pic 9(5) value 200.
01  bin                     pic 9(5).
01  item-number             pic 9(4).
01  record-count            pic 9(5) value 0.

01  goods-list.
    05  filler              pic x(12) value "hinge".
    05  filler              pic x(12) value "bracket".
    05  filler              pic x(12) value "copper pipe".
    05  filler              pic x(12) value "gasket".
    05  filler              pic x(12) value "relay, 24 V".
    05  filler              pic x(12) value "door handle".
01  goods-table redefines goods-list.
    05  goods               pic x(12) occurs 6.

procedure division.
main-line.
    open output stock
    perform check-status
    perform varying bin from 1 by 1 until bin > bin-count
        if function mod(bin, 5) not = 0
            perform fill-record
            write stock-record
            perform check-status
            add 1 to record-count
        end-if
    end-perform
    close stock
    display "stock:     " record-count " records in " bin-count " bins"
    stop run.

fill-record.
    move spaces to stock-record
    compute item-number = function mod(bin * 7, 40) + 1000
    string "ITEM-" item-number delimited by size into stock-item
    string function trim(goods(function mod(bin, 6) + 1)) ", size "
        item-number delimited by size into stock-text
    compute stock-quantity = function mod(bin * 7919, 4001) - 20
    compute stock-price = function mod(bin * 311, 90000) / 16
    compute stock-weight = (function mod(bin, 13) + 1) / 7
    compute stock-counted = 20250100 + function mod(bin, 28) + 1.

check-status.
    if file-status not = "00"
        display "stock: file status " file-status " at bin " bin upon syserr
        move 1 to return-code
        stop run
    end-if.
