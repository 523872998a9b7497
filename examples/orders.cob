*> SPDX-License-Identifier: MIT
*>
*> Makes the orders of the demo: a sequential file, orders.dat, with lines and
*> deliveries in tables.  Lines that an order does not have keep the values they
*> were initialised with.
identification division.
program-id. orders.

environment division.
input-output section.
file-control.
    select orders assign to "orders.dat"
        organization is sequential
        file status is file-status.

data division.
file section.
fd  orders.
01  order-record.
    05  order-no            pic 9(8).
    05  order-customer      pic 9(8).
    05  order-date          pic 9(8).
    05  order-line          occurs 3.
        10  line-item       pic x(10).
        10  line-quantity   pic s9(5) comp-3.
        10  line-price      pic s9(7)v99 comp-3.
        10  delivery        occurs 2.
            15  delivered-on    pic 9(8).
            15  delivered       pic s9(5) comp.
    05  order-status        pic x.
    05  order-total         pic s9(9)v99 sign is leading separate.

working-storage section.
01  file-status             pic xx.
01  how-many                pic 9(5) value 800.
01  n                       pic 9(5).
01  line-count              pic 9.
01  l                       pic 9.
01  total                   pic s9(9)v99 comp-3.
01  item-number             pic 9(4).

procedure division.
main-line.
    open output orders
    perform check-status
    perform varying n from 1 by 1 until n > how-many
        perform fill-record
        write order-record
        perform check-status
    end-perform
    close orders
    display "orders:    " how-many " records"
    stop run.

fill-record.
    initialize order-record
    move zero to total
    compute order-no = 700000 + n
    compute order-customer = 10000 + function mod(n * 17, 500)
    compute order-date = 20240000 + (function mod(n, 12) + 1) * 100
        + function mod(n, 28) + 1
    compute line-count = function mod(n, 3) + 1
    perform varying l from 1 by 1 until l > line-count
        compute item-number = function mod(n * 13 + l, 40) + 1000
        string "ITEM-" item-number delimited by size into line-item(l)
        *> Every ninth order takes goods back.
        compute line-quantity(l) = function mod(n + l, 12) + 1
        if function mod(n, 9) = 0
            compute line-quantity(l) = 0 - line-quantity(l)
        end-if
        compute line-price(l) = function mod(n * 37 + l * 11, 9000) / 100 + 0.99
        compute total = total + line-quantity(l) * line-price(l)
        if function mod(n + l, 2) = 0
            compute delivered-on(l, 1) = order-date
            move line-quantity(l) to delivered(l, 1)
        end-if
    end-perform
    move total to order-total
    evaluate true
        when total < 0              move "R" to order-status
        when function mod(n, 4) = 0 move "D" to order-status
        when other                  move "O" to order-status
    end-evaluate.

check-status.
    if file-status not = "00"
        display "orders: file status " file-status upon syserr
        move 1 to return-code
        stop run
    end-if.
