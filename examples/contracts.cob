*> SPDX-License-Identifier: MIT
*>
*> Makes the contracts of the demo: a sequential file, contracts.dat, with dates in
*> five storages and the contents that payrolls have where a date is not known:
*> zeros (not yet), nines (for ever), blanks (nobody knows) and days that there
*> never were.
identification division.
program-id. contracts.

environment division.
input-output section.
file-control.
    select contracts assign to "contracts.dat"
        organization is sequential
        file status is file-status.

data division.
file section.
fd  contracts.
01  contract-record.
    05  contract-no         pic 9(6).
    05  employee            pic x(20).
    05  signed-on           pic 9(6).
    05  signed-text         redefines signed-on pic x(6).
    05  born-on             pic 9(8).
    05  born-text           redefines born-on pic x(8).
    05  starts-on           pic 9(8) comp-3.
    05  ends-on             pic 9(6) comp.
    05  reviewed-on         pic x(6).
    05  pay-step            occurs 4.
        10  step-from       pic 9(8).
        10  step-pay        pic s9(5)v99 comp-3.
    05  hours               pic 9(2)v9.

working-storage section.
01  file-status             pic xx.
01  how-many                pic 9(5) value 300.
01  n                       pic 9(5).
01  s                       pic 9.
01  step-count              pic 9.
*> Days are counted from this one on: 4GL_JULIAN_BASE_DATE.
01  base-day                pic 9(8) value 19600101.
01  start-day               pic 9(8).
01  a-day                   pic 9(8).
01  a-day-parts             redefines a-day.
    05  decade              pic 9(3).
    05  below-decade        pic x(5).
*> The decades from 1960 to 2050, one character each.
01  decade-letters          pic x(10) value "6789:;<=>?".

01  name-list.
    05  filler              pic x(10) value "Almeida".
    05  filler              pic x(10) value "Bakker".
    05  filler              pic x(10) value "Conti".
    05  filler              pic x(10) value "Dubois".
    05  filler              pic x(10) value "Eriksen".
    05  filler              pic x(10) value "Horvat".
    05  filler              pic x(10) value "O'Brien".
01  name-table redefines name-list.
    05  last-name           pic x(10) occurs 7.

procedure division.
main-line.
    open output contracts
    perform check-status
    perform varying n from 1 by 1 until n > how-many
        perform fill-record
        write contract-record
        perform check-status
    end-perform
    close contracts
    display "contracts: " how-many " records"
    stop run.

fill-record.
    initialize contract-record
    compute contract-no = 400000 + n
    string function trim(last-name(function mod(n, 7) + 1)) ", "
        function char(66 + function mod(n * 5, 26)) "."
        delimited by size into employee
    compute hours = 20 + function mod(n * 3, 41) / 2

    *> On the first days of months from 1985 on.
    compute start-day = (1985 + function mod(n, 40)) * 10000
        + (function mod(n, 12) + 1) * 100 + 1
    move start-day to starts-on
    compute a-day = function date-of-integer(
        function integer-of-date(start-day) - function mod(n * 11, 60) - 1)
    compute signed-on = function mod(a-day, 1000000)
    compute born-on = function date-of-integer(
        function integer-of-date(start-day) - 6570 - function mod(n * 613, 14000))
    compute a-day = function date-of-integer(
        function integer-of-date(start-day) + 364 + function mod(n * 19, 3000))
    compute ends-on = function integer-of-date(a-day) - function integer-of-date(base-day)
    compute a-day = function date-of-integer(
        function integer-of-date(start-day) + function mod(n * 29, 900))
    perform review-on-that-day
    perform fill-steps
    perform fill-what-is-not-known.

fill-steps.
    compute step-count = function mod(n, 4) + 1
    perform varying s from 1 by 1 until s > step-count
        compute step-from(s) = start-day + (s - 1) * 10000
        compute step-pay(s) = 1800 + function mod(n * 37, 900) + s * 112.5
    end-perform.

fill-what-is-not-known.
    *> Most contracts have no end, some were never reviewed.
    if function mod(n, 3) = 0       move 999999 to ends-on          end-if
    if function mod(n, 20) = 7      move zero to ends-on            end-if
    if function mod(n, 10) = 1      move spaces to reviewed-on      end-if
    if function mod(n, 10) = 2      move all "0" to reviewed-on     end-if
    if function mod(n, 30) = 4      move all "9" to reviewed-on     end-if
    if function mod(n, 15) = 5      move zero to signed-on          end-if
    if function mod(n, 25) = 6      move spaces to signed-text      end-if
    if function mod(n, 40) = 9      move zero to starts-on          end-if
    if function mod(n, 40) = 29     move all "9" to starts-on       end-if
    if function mod(n, 12) = 8      move spaces to born-text        end-if
    *> Somebody typed them in: no such day, no such digits, no such decade.
    if function mod(n, 60) = 13     move 19850229 to born-on        end-if
    if function mod(n, 60) = 33     move "19?50229" to born-text    end-if
    if function mod(n, 60) = 43     move 990931 to signed-on        end-if
    if function mod(n, 60) = 53     move "~50101" to reviewed-on    end-if.

review-on-that-day.
    string decade-letters(decade - 195:1) below-decade
        delimited by size into reviewed-on.

check-status.
    if file-status not = "00"
        display "contracts: file status " file-status upon syserr
        move 1 to return-code
        stop run
    end-if.
