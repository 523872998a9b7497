*> SPDX-License-Identifier: MIT
*>
*> Writes three orders as an XML file, which read_orders_xml reads:
*>
*>     write_orders_xml FILE [ENCODING]
*>
*> The document is built in memory, every step of it checked, and then written, which is
*> checked as well.  ENCODING is UTF-8, ISO-8859-1 (the default), UTF-16LE or UTF-16BE.
*> RETURN-CODE is 0; 2 when there is no file, or not all of it.
identification division.
program-id. write_orders_xml.

data division.
working-storage section.
copy "wbfsi-xml.cpy".

01  file-name               pic x(4096).
01  file-name-z             pic x(4097).
01  encoding-name           pic x(20) value "ISO-8859-1".
01  encoding-name-z         pic x(21).
01  result                  binary-long.

01  parser                  binary-long.
01  orders                  binary-long.
01  order-record            binary-long.
01  order-line              binary-long.
01  element                 binary-long.
01  parent                  binary-long.

01  wanted                  pic x(20).
01  wanted-z                pic x(21).
01  text-area               pic x(60).
01  text-length             binary-long.

*> Sizes have the width of a pointer, and by value a pointer is passed whole.
01  document-size           binary-c-long unsigned.
01  document-size-by-value  redefines document-size usage pointer.
01  bytes-taken             binary-c-long unsigned.
01  bytes-taken-by-value    redefines bytes-taken usage pointer.
01  document                usage pointer.
01  document-bytes          usage pointer.
01  stream                  usage pointer.
01  text-address            usage pointer.
01  error-number            binary-long.
01  error-text              pic x(80).
01  step                    pic x(40).
01  edited                  pic -(9)9.

*> The orders, in the program's character set: x"FC" is a u and x"F6" an o with two dots
*> in ISO-8859-1.
01  o                       binary-long.
01  l                       binary-long.
01  order-list.
    05  filler              pic x(14) value "70000120240301".
    05  filler              pic 9(5) value 10017.
    05  filler              pic x(20) value "M" & x"FC" & "ller & S" & x"F6" & "hne".
    05  filler              pic x(24) value "call first, " & '"' & "2nd floor" & '"'.
    05  filler              pic x(14) value "70000220240302".
    05  filler              pic 9(5) value 10044.
    05  filler              pic x(20) value "Bakker".
    05  filler              pic x(24) value spaces.
    05  filler              pic x(14) value "70000320240302".
    05  filler              pic 9(5) value 10017.
    05  filler              pic x(20) value "M" & x"FC" & "ller & S" & x"F6" & "hne".
    05  filler              pic x(24) value spaces.
01  order-table             redefines order-list.
    05  order-entry         occurs 3.
        10  order-number    pic x(6).
        10  order-date.
            15  order-year  pic x(4).
            15  order-month pic xx.
            15  order-day   pic xx.
        10  customer-id     pic 9(5).
        10  customer-name   pic x(20).
        10  order-note      pic x(24).
01  line-list.
    05  filler              pic x(36) value "700001ITEM-1001bolt, M6 <zinc>".
    05  filler              pic s9(5) value 200.
    05  filler              pic 9(3)v9(4) value 0.125.
    05  filler              pic x(36) value "700001ITEM-1002nut & washer".
    05  filler              pic s9(5) value 12.
    05  filler              pic 9(3)v9(4) value 3.5.
    05  filler              pic x(36) value "700002ITEM-1038bracket".
    05  filler              pic s9(5) value 1.
    05  filler              pic 9(3)v9(4) value 4.43.
    05  filler              pic x(36) value "700003ITEM-1002nut & washer".
    05  filler              pic s9(5) value -2.
    05  filler              pic 9(3)v9(4) value 3.5.
01  line-table              redefines line-list.
    05  line-entry          occurs 4.
        10  line-order      pic x(6).
        10  line-item       pic x(9).
        10  line-text       pic x(21).
        10  line-quantity   pic s9(5).
        10  line-price      pic 9(3)v9(4).
01  quantity-edited         pic -(5)9.
01  price-edited            pic zz9.9(4).

linkage section.
01  c-text                  pic x(80).

procedure division.
main-line.
    accept file-name from argument-value
        on exception
            display "usage: write_orders_xml FILE [ENCODING]" upon syserr
            move 2 to return-code
            stop run
    end-accept
    accept encoding-name from argument-value
        on exception continue
    end-accept
    string function trim(file-name trailing) x"00" delimited by size into file-name-z
    string function trim(encoding-name) x"00" delimited by size into encoding-name-z
    call "fsi_init_cfg" returning result
    perform build-prolog
    perform varying o from 1 by 1 until o > 3
        perform build-order
    end-perform
    perform correct-third-order
    perform write-document
    call "ZxmlParser_release" using by value parser returning result
    move "releasing the document" to step
    perform check-parser
    display "write_orders_xml: " function trim(file-name) ": 3 orders"
    move 0 to return-code
    stop run.

*> An empty document, what stands in front of its elements, and the top one.
build-prolog.
    call "ZxmlParser_new" using by reference null by value 0 0 returning parser
    move parser to result
    move "making the document" to step
    perform check-parser
    call "ZxmlParser_set_version" using by value parser by reference z"1.0" returning result
    move "setting the version" to step
    perform check-parser
    call "ZxmlParser_set_encoding" using by value parser by reference encoding-name-z
        returning result
    move "setting the encoding" to step
    perform check-parser
    *> A name that is not known leaves no encoding.
    call "ZxmlParser_get_encoding" using by value parser returning text-address
    if text-address = null
        display "write_orders_xml: not an encoding: " function trim(encoding-name) upon syserr
        move 2 to return-code
        stop run
    end-if
    call "ZxmlParser_set_standalone" using by value parser 1 returning result
    move "setting standalone" to step
    perform check-parser
    call "ZxmlParser_set_processing_instruction" using by value parser 0
        by reference z"xml-stylesheet" by value -1
        by reference z'type="text/css" href="orders.css"' by value -1 returning result
    move "setting the instruction" to step
    perform check-parser
    call "ZxmlParser_append_comment" using by value parser
        by reference z"orders of March" by value -1 returning result
    move "setting the comment" to step
    perform check-parser

    call "ZxmlParser_set_top_element" using by value parser by reference "orders" by value 6
        returning orders
    move orders to result
    move "making the top element" to step
    perform check-parser
    move orders to element
    move "xmlns" to wanted
    move "urn:example:orders" to text-area
    perform add-attribute
    move "currency" to wanted
    move "EUR" to text-area
    perform add-attribute.

build-order.
    move orders to parent
    move "order" to wanted
    perform add-child
    move element to order-record
    move "number" to wanted
    move order-number(o) to text-area
    perform add-attribute
    move "date" to wanted
    string order-year(o) "-" order-month(o) "-" order-day(o) delimited by size into text-area
    perform add-attribute

    move order-record to parent
    move "customer" to wanted
    perform add-child
    move customer-name(o) to text-area
    perform set-value
    move "id" to wanted
    move customer-id(o) to text-area
    perform add-attribute
    perform varying l from 1 by 1 until l > 4
        if line-order(l) = order-number(o)
            perform build-line
        end-if
    end-perform
    if order-note(o) not = spaces
        move order-record to parent
        move "note" to wanted
        perform add-child
        move order-note(o) to text-area
        perform set-value
    end-if.

build-line.
    move order-record to parent
    move "line" to wanted
    perform add-child
    move element to order-line
    move "item" to wanted
    move line-item(l) to text-area
    perform add-attribute
    move order-line to parent
    move "text" to wanted
    perform add-child
    move line-text(l) to text-area
    perform set-value
    move "quantity" to wanted
    perform add-child
    move line-quantity(l) to quantity-edited
    move quantity-edited to text-area
    perform set-value
    move "price" to wanted
    perform add-child
    move line-price(l) to price-edited
    move price-edited to text-area
    perform set-value.

*> The third order takes goods back: its comment says so, and it has a date of its own,
*> the second attribute.
correct-third-order.
    call "ZxmlElem_append_comment" using by value order-record
        by reference z"goods taken back" by value -1 returning result
    move "setting a comment" to step
    perform check-element
    call "ZxmlElem_modify_attribute" using by value order-record 1
        by reference z"2024-03-11" by value -1 returning result
    move "changing an attribute" to step
    perform check-element.

*> A last child of `parent` with the wanted name, in `element`.
add-child.
    perform terminate-wanted
    call "ZxmlElem_add_child" using by value parent by reference wanted-z by value -1
        returning element
    move element to result
    string "adding " wanted delimited by size into step
    perform check-element.

*> The text without the blanks around it, with its length, as the value of `element`.
set-value.
    perform measure-text
    call "ZxmlElem_set_value" using by value element by reference text-area
        by value text-length returning result
    string "the value of " wanted delimited by size into step
    perform check-element
    move spaces to text-area.

*> The result is the number of attributes then.
add-attribute.
    perform terminate-wanted
    perform measure-text
    call "ZxmlElem_add_attribute" using by value element by reference wanted-z by value -1
        by reference text-area by value text-length returning result
    string "the attribute " wanted delimited by size into step
    perform check-element
    move spaces to text-area.

terminate-wanted.
    string function trim(wanted) x"00" delimited by size into wanted-z.

measure-text.
    move function trim(text-area) to text-area
    compute text-length = function length(function trim(text-area trailing)).

*> The library's own writing functions tell that the file was opened, not that the disk
*> took all of it: hence to memory first.
write-document.
    call "ZxmlParser_write_memory" using by value parser returning document
    move 1 to result
    if document = null
        move 0 to result
    end-if
    move "writing to memory" to step
    perform check-parser
    call "ZStringGet" using by value document returning document-bytes
    call "ZStringGetLength" using by value document returning document-size-by-value
    call "os_fopen" using by reference file-name-z z"w" by value 0 returning stream
    if stream = null
        display "write_orders_xml: " function trim(file-name) ": cannot be opened" upon syserr
        move 2 to return-code
        stop run
    end-if
    call "os_fwrite" using by value document-bytes document-size-by-value stream
        returning bytes-taken-by-value
    call "os_fclose" using by value stream returning result
    if bytes-taken not = document-size or result = 0
        display "write_orders_xml: " function trim(file-name)
            ": the disk did not take all of it" upon syserr
        move 2 to return-code
        stop run
    end-if
    call "ZSTRINGDelete" using by value document returning omitted.

*> A result of 0 is a failure; the number and text of the error are then those of the
*> function that failed last.
check-element.
    if result = 0
        call "ZxmlElem_error" using by reference error-number returning text-address
        perform fail
    end-if
    move spaces to step.

check-parser.
    if result = 0
        call "ZxmlParser_error" using by reference error-number returning text-address
        perform fail
    end-if
    move spaces to step.

fail.
    move spaces to error-text
    set address of c-text to text-address
    string c-text delimited by x"00" into error-text
    move error-number to edited
    display "write_orders_xml: " function trim(step) ": " function trim(error-text)
        " (" function trim(edited) ")" upon syserr
    move 2 to return-code
    stop run.
