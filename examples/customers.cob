*> SPDX-License-Identifier: MIT
*>
*> Makes the customers of the demo: an indexed file, written in no particular
*> order, and from it customers.dat, the same records in key order.
identification division.
program-id. customers.

environment division.
input-output section.
file-control.
    select customers assign to "customers.idx"
        organization is indexed
        access mode is dynamic
        record key is cust-id
        alternate record key is cust-name with duplicates
        file status is file-status.
    select in-key-order assign to "customers.dat"
        organization is sequential
        file status is file-status.

data division.
file section.
fd  customers.
01  customer-record.
    05  cust-id             pic 9(8).
    05  cust-name           pic x(30).
    05  cust-street         pic x(25).
    05  cust-city           pic x(20).
    05  cust-country        pic x(2).
    05  cust-since          pic 9(8).
    05  credit-limit        pic s9(9)v99 comp-3.
    05  balance             pic s9(9)v99.
    05  discount            pic s9(3)v9(3) comp-3.
    05  orders-placed       pic 9(9) comp.
    05  filler              pic x(2).

fd  in-key-order.
01  plain-record            pic x(120).

working-storage section.
01  file-status             pic xx.
01  how-many                pic 9(5) value 500.
01  n                       pic 9(5).
01  amount                  pic s9(9)v99 comp-3.

01  first-name-list.
    05  filler              pic x(8) value "Ada".
    05  filler              pic x(8) value "Bruno".
    05  filler              pic x(8) value "Carla".
    05  filler              pic x(8) value "Dmitri".
    05  filler              pic x(8) value "Elena".
    05  filler              pic x(8) value "Farid".
    05  filler              pic x(8) value "Greta".
01  first-names redefines first-name-list.
    05  first-name          pic x(8) occurs 7.

01  last-name-list.
    05  filler              pic x(10) value "Almeida".
    05  filler              pic x(10) value "Bakker".
    05  filler              pic x(10) value "Conti".
    05  filler              pic x(10) value "Dubois".
    05  filler              pic x(10) value "Eriksen".
    05  filler              pic x(10) value "Fischer".
    05  filler              pic x(10) value "Garcia".
    05  filler              pic x(10) value "Horvat".
    05  filler              pic x(10) value "Ivanova".
    05  filler              pic x(10) value "O'Brien".
    05  filler              pic x(10) value "Zhang".
01  last-names redefines last-name-list.
    05  last-name           pic x(10) occurs 11.

01  city-list.
    05  filler              pic x(22) value "Lisboa              PT".
    05  filler              pic x(22) value "Rotterdam           NL".
    05  filler              pic x(22) value "Torino              IT".
    05  filler              pic x(22) value "Lyon                FR".
    05  filler              pic x(22) value "Bergen              NO".
01  cities redefines city-list.
    05  city-entry          occurs 5.
        10  city            pic x(20).
        10  country         pic x(2).

procedure division.
main-line.
    open output customers
    perform check-status
    *> 137 has no factor in common with the count: each number comes up once.
    perform varying n from 1 by 1 until n > how-many
        perform fill-record
        write customer-record
        perform check-status
    end-perform
    close customers

    open input customers
    perform check-status
    open output in-key-order
    perform check-status
    perform until exit
        read customers next record
            at end exit perform
        end-read
        perform check-status
        write plain-record from customer-record
        perform check-status
    end-perform
    close customers in-key-order
    display "customers: " how-many " records"
    stop run.

fill-record.
    move spaces to customer-record
    compute cust-id = 10000 + function mod(n * 137, how-many)
    string function trim(first-name(function mod(n, 7) + 1)) " "
        function trim(last-name(function mod(n, 11) + 1))
        delimited by size into cust-name
    string function trim(last-name(function mod(n * 3, 11) + 1)) " Street "
        n delimited by size into cust-street
    move city(function mod(n, 5) + 1) to cust-city
    move country(function mod(n, 5) + 1) to cust-country
    compute cust-since = (1985 + function mod(n, 40)) * 10000
        + (function mod(n, 12) + 1) * 100 + function mod(n, 28) + 1
    compute credit-limit = function mod(n, 20) * 2500.5
    compute amount = function mod(n * 7919, 2000003) / 100 - 10000
    move amount to balance
    compute discount = function mod(n, 50) / 8 - 1.5
    compute orders-placed = function mod(n * 31, 977).

check-status.
    *> 02 is success: the record has an alternate key that is there already.
    if file-status not = "00" and file-status not = "02"
        display "customers: file status " file-status upon syserr
        move 1 to return-code
        stop run
    end-if.
