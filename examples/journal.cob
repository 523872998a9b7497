*> SPDX-License-Identifier: MIT
*>
*> Makes the journal of the demo: a sequential file, journal.dat, of batches, each a
*> header, entries, adjustments of entries (some of them reversals) and a trailer
*> with the totals.  A letter in each record tells what it is.
identification division.
program-id. journal.

environment division.
input-output section.
file-control.
    select journal assign to "journal.dat"
        organization is sequential
        file status is file-status.

data division.
file section.
fd  journal.
01  journal-record.
    05  batch-no            pic 9(5).
    05  line-no             pic 9(5).
    05  kind                pic x.
        88  is-header       value "H".
        88  is-entry        value "E".
        88  is-adjustment   value "A".
    05  reason              pic x.
        88  is-reversal     value "R".
    05  header-part.
        10  clerk           pic x(12).
        10  opened-on       pic 9(8).
        10  filler          pic x(26).
    05  posting-part        redefines header-part.
        10  account         pic 9(6).
        10  amount          pic s9(7)v99 comp-3.
        10  booking-text    pic x(20).
        10  last-part       pic x(15).
        10  entry-part      redefines last-part.
            15  cost-centre pic x(4).
            15  quantity    pic s9(5) comp-3.
            15  filler      pic x(8).
        10  adjustment-part redefines last-part.
            15  of-line     pic 9(5).
            15  old-amount  pic s9(7)v99 comp-3.
            15  new-batch   pic 9(5).
    05  trailer-part        redefines header-part.
        10  line-total      pic 9(5).
        10  amount-total    pic s9(9)v99.
        10  filler          pic x(30).

working-storage section.
01  file-status             pic xx.
01  batch-count             pic 9(5) value 60.
01  record-count            pic 9(5) value 0.
01  b                       pic 9(5).
01  entries                 pic 9(5).
01  e                       pic 9(5).
01  line-in-batch           pic 9(5).
01  n                       pic 9(5) value 0.
01  centre-number           pic 9(3).
01  total                   pic s9(9)v99 comp-3.
01  entry-amount            pic s9(7)v99 comp-3.

procedure division.
main-line.
    open output journal
    perform check-status
    perform varying b from 1 by 1 until b > batch-count
        perform put-batch
    end-perform
    close journal
    display "journal:   " record-count " records in " batch-count " batches"
    stop run.

put-batch.
    move zero to total line-in-batch
    perform start-record
    set is-header to true
    string "clerk " b delimited by size into clerk
    compute opened-on = 20250000 + (function mod(b, 12) + 1) * 100
        + function mod(b * 5, 28) + 1
    perform put-record

    compute entries = function mod(b * 7, 9) + 1
    perform varying e from 1 by 1 until e > entries
        perform put-entry
        if function mod(n, 6) = 0
            perform put-adjustment
        end-if
    end-perform

    perform start-record
    move "Z" to kind
    move line-no to line-total
    move total to amount-total
    perform put-record.

put-entry.
    add 1 to n
    compute entry-amount = function mod(n * 7919, 90001) / 100 - 200
    perform start-record
    set is-entry to true
    compute account = 400000 + function mod(n * 13, 90) * 10
    move entry-amount to amount
    string "entry " n delimited by size into booking-text
    compute quantity = function mod(n, 25) - 5
    compute centre-number = 100 + function mod(n, 7)
    string "C" centre-number delimited by size into cost-centre
    add entry-amount to total
    perform put-record.

put-adjustment.
    *> Of the entry just written: half of it, or all when it is a reversal.
    perform start-record
    set is-adjustment to true
    compute account = 400000 + function mod(n * 13, 90) * 10
    move "taken back" to booking-text
    compute of-line = line-no - 1
    if function mod(n, 4) = 0
        set is-reversal to true
        compute amount = 0 - entry-amount
        move entry-amount to old-amount
        compute new-batch = b + 1
    else
        move "C" to reason
        compute amount = 0 - entry-amount / 2
    end-if
    add amount to total
    perform put-record.

start-record.
    move spaces to journal-record
    move b to batch-no
    add 1 to line-in-batch
    move line-in-batch to line-no.

put-record.
    write journal-record
    perform check-status
    add 1 to record-count.

check-status.
    if file-status not = "00"
        display "journal: file status " file-status upon syserr
        move 1 to return-code
        stop run
    end-if.
