*> SPDX-License-Identifier: MIT
*>
*> Prints the orders of an XML file.  They are read one by one, and each is deleted
*> when it has been printed, so that the file may be of any size:
*>
*>     read_orders_xml FILE
*>
*> RETURN-CODE is 0; 1 when an order lacks something or holds what is no number (six
*> digits and four decimals at most); 2 when the file cannot be read to its end.
identification division.
program-id. read_orders_xml.

data division.
working-storage section.
copy "wbfsi-xml.cpy".

01  file-name               pic x(4096).
01  file-name-z             pic x(4097).
01  exit-code               binary-long value 0.
01  result                  binary-long.

01  parser                  binary-long.
01  orders                  binary-long.
01  order-record            binary-long.
01  order-line              binary-long.
01  delivery                binary-long.
01  parent                  binary-long.
01  element                 binary-long.

*> How the names of our elements begin: "" or, say, "o:".
01  prefix                  pic x(64).
01  prefix-length           binary-long value 0.
01  wanted                  pic x(16).
01  wanted-z                pic x(81).

01  text-area               pic x(200).
01  text-size               binary-long.
01  text-length             binary-long.
01  attribute-count         binary-long.
01  attribute-number        binary-long.
01  depth-above             binary-long.
01  depth                   binary-long.
01  occurrence              binary-long.

01  order-number            pic x(12).
01  currency-code           pic x(3).
01  a-number                pic s9(6)v9(4) comp-3.
01  quantity                pic s9(6)v9(4) comp-3.
01  price                   pic s9(6)v9(4) comp-3.
01  amount                  pic s9(12)v99 comp-3.
01  order-total             pic s9(12)v99 comp-3.
01  grand-total             pic s9(12)v99 comp-3 value 0.
01  has-number              pic x.
    88  is-number           value "y".
01  orders-read             binary-long value 0.
01  lines-read              binary-long value 0.
01  problem                 pic x(80).

01  order-shown.
    05  filler              pic x(6) value "order ".
    05  number-shown        pic x(12).
    05  date-shown          pic x(12).
    05  customer-id-shown   pic x(8).
    05  customer-shown      pic x(40).
01  line-shown.
    05  line-number-shown   pic zzz9.
    05  filler              pic x(2).
    05  item-shown          pic x(12).
    05  text-shown          pic x(20).
    05  quantity-shown      pic -(6)9.9(4).
    05  price-shown         pic -(6)9.9(4).
    05  amount-shown        pic -(12)9.99.
01  delivery-shown.
    05  filler              pic x(6).
    05  subscripts-shown    pic x(12).
    05  delivered-on-shown  pic x(20).
    05  delivered-shown     pic -(6)9.9(4).
01  total-shown.
    05  filler              pic x(62) value "      total".
    05  order-total-shown   pic -(12)9.99.
01  edited                  pic -(12)9.99.
01  counted                 pic -(9)9.
01  counted-2               pic -(9)9.
01  counted-3               pic -(9)9.

*> The error state of the process, and a state of our own that finds the place.
01  file-error-address      usage pointer.
01  system-error-address    usage pointer.
01  message-address         usage pointer.
01  text-address            usage pointer.
01  state-address           usage pointer.
01  stream                  usage pointer.
01  error-number            binary-long.
01  error-text              pic x(80).
01  at-line                 binary-long.
01  at-column               binary-long.

linkage section.
01  file-error              binary-short.
01  system-error            binary-long.
01  message-pointer         usage pointer.
01  c-text                  pic x(80).
copy "wbfsi-xml-records.cpy".

procedure division.
main-line.
    move length of text-area to text-size
    accept file-name from argument-value
        on exception
            display "usage: read_orders_xml FILE" upon syserr
            move 2 to return-code
            stop run
    end-accept
    string function trim(file-name trailing) x"00" delimited by size into file-name-z
    perform start-library
    perform open-document
    if parser not = 0
        perform look-at-top
        perform read-record with test after until order-record = 0
        if exit-code < 2
            perform show-totals
        end-if
        call "ZxmlParser_release" using by value parser returning result
    end-if
    *> A CALL without RETURNING would have set it.
    move exit-code to return-code
    stop run.

start-library.
    *> INPUT keeps the blanks around values: else those in front of the first reference,
    *> such as "&amp;", would be lost, too.
    call "fsi_init_cfg" returning result
    call "ZCSetValueString" using by reference z"XML_KEEP_WHITESPACE" z"INPUT"
        returning result
    call "Zstdlib_f_errno" returning file-error-address
    set address of file-error to file-error-address
    call "Zstdlib_f_int2_errno" returning system-error-address
    set address of system-error to system-error-address
    call "Zstdlib_f_errmsg" returning message-address
    set address of message-pointer to message-address.

open-document.
    call "ZxmlParser_new" using by reference file-name-z by value ZXML-READ-USUAL -1
        returning parser
    if parser = 0
        call "ZxmlParser_error" using by reference error-number returning text-address
        perform copy-c-text
        move error-number to counted
        display "read_orders_xml: " function trim(file-name) ": " function trim(error-text)
            " (" function trim(counted) ")" upon syserr
        if error-number = ZXML-INVALID
            perform explain-file-error
        end-if
        move 2 to exit-code
    end-if.

*> The attributes of the top element: the currency, and which prefix stands for our
*> namespace.  Without that namespace, names without a prefix are taken.
look-at-top.
    call "ZxmlParser_top_element" using by value parser returning orders
    move orders to element
    move "currency" to wanted
    perform fetch-attribute
    move text-area to currency-code
    call "ZxmlElem_attribute_count" using by value orders returning attribute-count
    perform varying attribute-number from 0 by 1 until attribute-number >= attribute-count
        call "ZxmlElem_attribute_value_compare" using by value orders attribute-number
            by reference z"urn:example:orders" by value 0 -1 returning result
        if result = 0
            call "ZxmlElem_attribute_name_compare" using by value orders attribute-number
                by reference z"xmlns:" by value 0 6 returning result
            if result = 0
                perform fetch-prefix
            end-if
        end-if
    end-perform.

fetch-prefix.
    perform fetch-attribute-name
    if text-length < 7 or text-length - 5 > length of prefix
        display "read_orders_xml: " function trim(file-name)
            ": not a prefix of up to 63 characters: " function trim(text-area) upon syserr
        move 1 to exit-code
    else
        compute prefix-length = text-length - 5
        string text-area(7:text-length - 6) ":" delimited by size into prefix
    end-if.

*> The next child of the top element; 0 at the end and after an error.
read-record.
    call "ZxmlParser_parse_record" using by value parser returning result
    if result = 0
        move 0 to order-record
        if file-error not = FILE-ERROR-END
            move orders-read to counted
            display "read_orders_xml: " function trim(file-name)
                ": not read to its end, orders read: " function trim(counted) upon syserr
            perform explain-file-error
            move 2 to exit-code
        end-if
    else
        call "ZxmlElem_first_child" using by value orders returning order-record
        move order-record to element
        move "order" to wanted
        perform compare-name
        if result = 0
            perform show-order
        end-if
        call "ZxmlElem_delete" using by value order-record returning result
    end-if.

show-order.
    add 1 to orders-read
    move 0 to order-total
    move order-record to element
    move "number" to wanted
    perform fetch-attribute
    move text-area to order-number
    if text-area = spaces
        move "?" to order-number
        move "no number" to problem
        perform tell-problem
    end-if
    move order-number to number-shown
    move "date" to wanted
    perform fetch-attribute
    move text-area to date-shown
    if text-area = spaces
        move "no date" to problem
        perform tell-problem
    end-if

    move spaces to customer-id-shown
    move order-record to parent
    move "customer" to wanted
    perform find-child
    if element = 0
        move "(no customer)" to customer-shown
        move "no customer" to problem
        perform tell-problem
    else
        perform fetch-value
        move text-area to customer-shown
        move "id" to wanted
        perform fetch-attribute
        move text-area to customer-id-shown
    end-if
    display function trim(order-shown trailing)

    call "ZxmlElem_first_child" using by value order-record returning order-line
    perform until order-line = 0
        move order-line to element
        move "line" to wanted
        perform compare-name
        if result = 0
            perform show-line
        end-if
        call "ZxmlElem_next_sibling" using by value order-line returning order-line
    end-perform

    move order-record to parent
    move "note" to wanted
    perform find-child
    if element not = 0
        perform fetch-value
        display "      note: " function trim(text-area trailing)
    end-if
    move order-total to order-total-shown
    display total-shown
    add order-total to grand-total
        on size error
            move "the total is too large" to problem
            perform tell-problem
    end-add.

show-line.
    add 1 to lines-read
    move spaces to line-shown
    move order-record to parent
    move order-line to element
    perform find-occurrence
    move occurrence to line-number-shown
    move "item" to wanted
    perform fetch-attribute
    move text-area to item-shown

    move order-line to parent
    move "text" to wanted
    perform find-child
    if element not = 0
        perform fetch-value
        move text-area to text-shown
    end-if
    move "quantity" to wanted
    perform fetch-number
    if is-number
        move a-number to quantity quantity-shown
        move "price" to wanted
        perform fetch-number
    end-if
    if is-number
        move a-number to price price-shown
        compute amount rounded = quantity * price
        move amount to amount-shown
        add amount to order-total
            on size error
                move "the total is too large" to problem
                perform tell-problem
        end-add
    end-if
    display function trim(line-shown trailing)

    call "ZxmlElem_first_child" using by value order-line returning delivery
    perform until delivery = 0
        move delivery to element
        move "delivery" to wanted
        perform compare-name
        if result = 0
            perform show-delivery
        end-if
        call "ZxmlElem_next_sibling" using by value delivery returning delivery
    end-perform.

*> Deliveries have subscripts, as in a table: line and delivery.
show-delivery.
    move spaces to delivery-shown
    move order-line to parent
    move delivery to element
    perform find-occurrence
    move occurrence to counted
    move line-number-shown to counted-2
    string "(" function trim(counted-2) ", " function trim(counted) ")"
        delimited by size into subscripts-shown
    move "date" to wanted
    perform fetch-attribute
    move text-area to delivered-on-shown
    perform fetch-value
    perform convert-number
    if is-number
        move a-number to delivered-shown
    else
        move "a delivery that is no number" to problem
        perform tell-problem
    end-if
    display function trim(delivery-shown trailing).

*> Which one of its name an element is.  One that has no siblings of its name has no
*> level of its own in the array indices, and they are those of its parent.
find-occurrence.
    call "ZxmlElem_array_depth" using by value parent returning depth-above
    call "ZxmlElem_array_depth" using by value element returning depth
    if depth > depth-above
        call "ZxmlElem_array_index" using by value element depth returning occurrence
    else
        move 1 to occurrence
    end-if.

*> The first child of `parent` with the wanted name, in `element`; 0 for none.
find-child.
    call "ZxmlElem_first_child" using by value parent returning element
    move 1 to result
    perform until element = 0
        perform compare-name
        if result = 0
            exit perform
        end-if
        call "ZxmlElem_next_sibling" using by value element returning element
    end-perform.

*> 0 when the name of `element` is the wanted one of our namespace.
compare-name.
    if prefix-length = 0
        string function trim(wanted) x"00" delimited by size into wanted-z
    else
        string prefix(1:prefix-length) function trim(wanted) x"00"
            delimited by size into wanted-z
    end-if
    call "ZxmlElem_name_compare" using by value element by reference wanted-z by value 0 -1
        returning result.

*> The value of `element` without the blanks around it, in text-area; text-length is -1
*> when it has none.  Asked without a buffer, the function tells the length; the text
*> comes with a zero byte behind it.
fetch-value.
    call "ZxmlElem_value" using by value element by reference null by value 0
        returning text-length
    perform check-length
    if text-length > 0
        call "ZxmlElem_value" using by value element by reference text-area by value text-size
            returning text-length
        perform blank-controls
    end-if.

*> The wanted attribute of `element`.
fetch-attribute.
    move -1 to text-length
    move spaces to text-area
    string function trim(wanted) x"00" delimited by size into wanted-z
    call "ZxmlElem_attribute_count" using by value element returning attribute-count
    perform varying attribute-number from 0 by 1 until attribute-number >= attribute-count
        call "ZxmlElem_attribute_name_compare" using by value element attribute-number
            by reference wanted-z by value 0 -1 returning result
        if result = 0
            call "ZxmlElem_attribute_value" using by value element attribute-number
                by reference null by value 0 returning text-length
            perform check-length
            call "ZxmlElem_attribute_value" using by value element attribute-number
                by reference text-area by value text-size returning text-length
            perform blank-controls
            exit perform
        end-if
    end-perform.

*> The name of an attribute of the top element.
fetch-attribute-name.
    call "ZxmlElem_attribute_name" using by value orders attribute-number
        by reference null by value 0 returning text-length
    perform check-length
    call "ZxmlElem_attribute_name" using by value orders attribute-number
        by reference text-area by value text-size returning text-length
    perform blank-controls.

*> What does not fit is cut by the functions, between two characters.
check-length.
    move spaces to text-area
    if text-length >= text-size
        move text-length to counted
        string "a text of " function trim(counted) " bytes is cut"
            delimited by size into problem
        perform tell-problem
    end-if.

*> The zero byte behind the text, line ends and tabs in it.
blank-controls.
    inspect text-area converting x"00090A0D" to "    "
    move function trim(text-area) to text-area.

*> The value of the wanted child of `parent`, as a number.
fetch-number.
    move "n" to has-number
    perform find-child
    if element = 0
        string "line " function trim(line-number-shown) ": no " wanted
            delimited by size into problem
        perform tell-problem
    else
        perform fetch-value
        perform convert-number
        if not is-number
            string "line " function trim(line-number-shown) ": the " function trim(wanted)
                " is no number: " text-area delimited by size into problem
            perform tell-problem
        end-if
    end-if.

convert-number.
    move "n" to has-number
    if text-area not = spaces and function test-numval(text-area) = 0
        move "y" to has-number
        compute a-number = function numval(text-area)
            on size error move "n" to has-number
        end-compute
        if is-number and a-number not = function numval(text-area)
            move "n" to has-number
        end-if
    end-if.

tell-problem.
    display "read_orders_xml: " function trim(file-name) ": order "
        function trim(order-number) ": " function trim(problem) upon syserr
    move spaces to problem
    if exit-code = 0
        move 1 to exit-code
    end-if.

show-totals.
    move orders-read to counted
    move lines-read to counted-2
    move grand-total to edited
    move spaces to text-area
    string function trim(counted) " orders, " function trim(counted-2) " lines, "
        function trim(edited) " " currency-code delimited by size into text-area
    display function trim(text-area trailing).

*> A second line for what went wrong with the file: what expat said, and where, or the
*> system's error.
explain-file-error.
    move file-error to error-number
    evaluate error-number
        when FILE-ERROR-XML
            set text-address to message-pointer
            perform copy-c-text
            move system-error to error-number
            perform find-place
            move error-number to counted
            if at-line > 0
                move at-line to counted-2
                move at-column to counted-3
                display "    line " function trim(counted-2) ", column "
                    function trim(counted-3) ": " function trim(error-text)
                    " (XML error " function trim(counted) ")" upon syserr
            else
                display "    " function trim(error-text)
                    " (XML error " function trim(counted) ")" upon syserr
            end-if
        when FILE-ERROR-NO-MEMORY
            display "    no memory, or more of it asked for than the file is worth" upon syserr
        when other
            move system-error to counted
            display "    error " function trim(counted) " of the system" upon syserr
    end-evaluate.

*> The parser does not tell the line.  The file goes once more through expat alone,
*> without a tree; its place is expat's then.
find-place.
    move 0 to at-line at-column
    call "expat_create_parser" using by value 0 returning state-address
    if state-address not = null
        call "os_fopen" using by reference file-name-z z"r" by value 0 returning stream
        if stream not = null
            call "parse_to_end_of_file" using by value state-address stream returning omitted
            if file-error = FILE-ERROR-XML
                set address of zxml-expat-state to state-address
                call "XML_GetCurrentLineNumber" using by value xs-parser returning at-line
                call "XML_GetCurrentColumnNumber" using by value xs-parser returning at-column
                add 1 to at-column
            end-if
            call "os_fclose" using by value stream returning result
        end-if
        call "expat_destroy_parser" using by value state-address returning omitted
    end-if.

*> A text of the library: up to its zero byte.
copy-c-text.
    move spaces to error-text
    set address of c-text to text-address
    string c-text delimited by x"00" into error-text.
