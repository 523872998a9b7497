*> SPDX-License-Identifier: MIT
*>
*> Calls every XML function as docs/api/cobol.md says and checks what comes back: on the
*> small document that it builds, on what that reads as, and on bad handles.  Prints
*> what is wrong, and at the end how many results were right.
identification division.
program-id. xml_calls.

data division.
working-storage section.
copy "wbfsi-xml.cpy".

01  parser              binary-long.
01  second-parser       binary-long.
01  orders              binary-long.
01  first-line          binary-long.
01  second-line         binary-long.
01  third-line          binary-long.
01  element             binary-long.
01  bad-handle          binary-long value 12345.

01  result              binary-long.
01  wanted              binary-long.
01  text-length         binary-long.
01  buffer-size         binary-long.
01  buffer              pic x(2000).
01  wanted-text         pic x(2000).
01  what                pic x(60).
01  right-count         binary-long value 0.
01  wrong-count         binary-long value 0.
01  shown               pic -(9)9.
01  shown-wanted        pic -(9)9.

01  error-number        binary-long.
01  text-address        usage pointer.
01  data-address        usage pointer.
01  table-address       usage pointer.
01  state               usage pointer.
01  stream              usage pointer.
01  string-address      usage pointer.
01  capacity            binary-c-long unsigned value 16.
01  capacity-by-value   redefines capacity usage pointer.
01  text-piece.
    05  piece-address   usage pointer.
    05  piece-length    binary-long.
    05  piece-code-page binary-long value ZXML-UTF-8.
01  piece-text          pic x(10) value "  5 < 6   ".
01  document            pic x(300).

linkage section.
01  c-text              pic x(2000).
copy "wbfsi-xml-records.cpy".

procedure division.
main-line.
    move length of buffer to buffer-size
    *> Nothing was started; then the variables are declared.
    perform check-document
    call "fsi_init_cfg" returning result
    perform check-elements
    perform check-values
    perform check-attributes
    perform check-instructions
    perform check-writing
    perform check-reading
    perform check-feeding
    perform check-bad-handles
    perform check-release
    move right-count to shown
    display function trim(shown) " results were right"
    if wrong-count > 0
        move 1 to return-code
    else
        move 0 to return-code
    end-if
    stop run.

check-document.
    call "validate_scratch" using by value 100 returning result
    move "validate_scratch" to what
    move 1 to wanted
    perform expect
    call "ZxmlParser_new" using by reference null by value 0 0 returning parser
    call "ZxmlParser_is_parser" using by value parser returning result
    move "ZxmlParser_new, ZxmlParser_is_parser" to what
    perform expect
    call "ZxmlParser_is_parser" using by value bad-handle returning result
    move "ZxmlParser_is_parser of no parser" to what
    move 0 to wanted
    perform expect

    call "ZxmlParser_get_version" using by value parser returning text-address
    move "ZxmlParser_get_version of a new document" to what
    perform expect-null
    call "ZxmlParser_set_version" using by value parser by reference z"1.0" returning result
    move "ZxmlParser_set_version" to what
    move 1 to wanted
    perform expect
    call "ZxmlParser_get_version" using by value parser returning text-address
    move "ZxmlParser_get_version" to what
    move "1.0" to wanted-text
    perform expect-c-text
    call "ZxmlParser_set_encoding" using by value parser by reference z"iso-8859-1"
        returning result
    move "ZxmlParser_set_encoding" to what
    perform expect
    call "ZxmlParser_get_encoding" using by value parser returning text-address
    move "ZxmlParser_get_encoding" to what
    move "ISO-8859-1" to wanted-text
    perform expect-c-text
    call "ZxmlParser_set_standalone" using by value parser 1 returning result
    move "ZxmlParser_set_standalone" to what
    perform expect
    call "ZxmlParser_get_standalone" using by value parser returning result
    move "ZxmlParser_get_standalone" to what
    perform expect
    call "ZxmlParser_set_raw_doctype" using by value parser
        by reference z"<!ELEMENT a EMPTY>" by value 18 returning result
    move "ZxmlParser_set_raw_doctype" to what
    perform expect
    call "ZxmlParser_get_raw_doctype" using by value parser
        by reference buffer by value buffer-size returning text-length
    move "ZxmlParser_get_raw_doctype" to what
    move "<!ELEMENT a EMPTY>" to wanted-text
    perform expect-text
    call "ZxmlParser_append_comment" using by value parser by reference z"of Ma" by value -1
        returning result
    move "ZxmlParser_append_comment" to what
    perform expect
    call "ZxmlParser_append_comment" using by value parser by reference "rch..." by value 3
        returning result
    perform expect
    call "ZxmlParser_get_comment" using by value parser by reference buffer
        by value buffer-size returning text-length
    move "ZxmlParser_get_comment" to what
    move "of March" to wanted-text
    perform expect-text
    call "ZxmlParser_delete_comment" using by value parser returning result
    move "ZxmlParser_delete_comment" to what
    perform expect
    call "ZxmlParser_get_comment" using by value parser by reference null by value 0
        returning result
    move "ZxmlParser_get_comment without one" to what
    move -1 to wanted
    perform expect

    call "ZxmlParser_set_top_element" using by value parser by reference z"orders"
        by value -1 returning orders
    call "ZxmlParser_top_element" using by value parser returning result
    move "ZxmlParser_set_top_element, ZxmlParser_top_element" to what
    move orders to wanted
    perform expect
    call "ZxmlParser_of_element" using by value orders returning result
    move "ZxmlParser_of_element" to what
    move parser to wanted
    perform expect
    call "ZxmlParser_current" using by value parser returning result
    move "ZxmlParser_current of a built document" to what
    move 0 to wanted
    perform expect
    call "ZxmlParser_set_top_element" using by value parser by reference z"orders"
        by value -1 returning result
    move "a second top element" to what
    perform expect
    move ZXML-HAS-TOP to wanted
    move "The specified parser already has a top-level element" to wanted-text
    perform expect-parser-error.

check-elements.
    call "ZxmlElem_add_child" using by value orders by reference "line..." by value 4
        returning first-line
    call "ZxmlElem_is_element" using by value first-line returning result
    move "ZxmlElem_add_child, ZxmlElem_is_element" to what
    move 1 to wanted
    perform expect
    call "ZxmlElem_array_depth" using by value first-line returning result
    move "ZxmlElem_array_depth of a single element" to what
    move -1 to wanted
    perform expect
    call "ZxmlElem_add_sibling" using by value first-line by reference z"line" by value -1
        returning third-line
    call "ZxmlElem_new" using by value orders by reference z"line" by value -1 third-line
        returning second-line
    call "ZxmlElem_next_sibling" using by value first-line returning result
    move "ZxmlElem_new in front of a sibling, ZxmlElem_next_sibling" to what
    move second-line to wanted
    perform expect
    call "ZxmlElem_prev_sibling" using by value third-line returning result
    move "ZxmlElem_prev_sibling" to what
    perform expect
    call "ZxmlElem_first_child" using by value orders returning result
    move "ZxmlElem_first_child" to what
    move first-line to wanted
    perform expect
    call "ZxmlElem_parent" using by value third-line returning result
    move "ZxmlElem_parent" to what
    move orders to wanted
    perform expect
    call "ZxmlElem_array_depth" using by value first-line returning result
    move "ZxmlElem_array_depth" to what
    move 0 to wanted
    perform expect
    *> Made last, it is the third one, wherever it stands.
    call "ZxmlElem_array_index" using by value second-line 0 returning result
    move "ZxmlElem_array_index" to what
    move 3 to wanted
    perform expect
    call "ZxmlElem_array_index" using by value second-line 1 returning result
    move "ZxmlElem_array_index of no level" to what
    move -1 to wanted
    perform expect
    call "ZxmlElem_name" using by value orders by reference null by value 0 returning result
    move "ZxmlElem_name without a buffer" to what
    move 6 to wanted
    perform expect
    call "ZxmlElem_name" using by value orders by reference buffer by value buffer-size
        returning text-length
    move "ZxmlElem_name" to what
    move "orders" to wanted-text
    perform expect-text
    call "ZxmlElem_name_compare" using by value orders by reference z"ORDERS" by value 1 -1
        returning result
    move "ZxmlElem_name_compare without case" to what
    move 0 to wanted
    perform expect
    call "ZxmlElem_name_compare" using by value orders by reference z"order" by value 0 5
        returning result
    move "ZxmlElem_name_compare of five bytes" to what
    perform expect
    call "ZxmlElem_name_compare" using by value orders by reference z"pens" by value 0 -1
        returning result
    if result < 0
        move 0 to result
    end-if
    move "ZxmlElem_name_compare: less" to what
    perform expect

    set data-address to address of document
    call "ZxmlElem_set_user_data" using by value orders data-address returning result
    move "ZxmlElem_set_user_data" to what
    move 1 to wanted
    perform expect
    call "ZxmlElem_set_user_data" using by value orders data-address returning result
    move "ZxmlElem_set_user_data for the second time" to what
    move 0 to wanted
    perform expect
    call "ZxmlElem_user_data" using by value orders returning text-address
    if text-address = data-address
        move 0 to result
    else
        move 1 to result
    end-if
    move "ZxmlElem_user_data" to what
    perform expect.

check-values.
    call "ZxmlElem_value" using by value first-line by reference null by value 0
        returning result
    move "ZxmlElem_value without one" to what
    move -1 to wanted
    perform expect
    move ZXML-NO-VALUE to wanted
    move "The specified element has no value" to wanted-text
    perform expect-element-error
    call "ZxmlElem_set_value" using by value first-line by reference "42 pens & more"
        by value 7 returning result
    move "ZxmlElem_set_value" to what
    move 1 to wanted
    perform expect
    call "ZxmlElem_value_i" using by value first-line returning result
    move "ZxmlElem_value_i" to what
    move 42 to wanted
    perform expect
    call "ZxmlElem_append_value" using by value first-line by reference " & M" & x"FC" & "."
        by value 5 1 returning result
    move "ZxmlElem_append_value" to what
    move 1 to wanted
    perform expect
    call "ZxmlElem_value" using by value first-line by reference buffer
        by value buffer-size returning text-length
    move "ZxmlElem_value" to what
    move "42 pens & M" & x"FC" to wanted-text
    perform expect-text
    *> What does not fit stays away, and nothing behind the size is written.
    move all "#" to buffer
    call "ZxmlElem_value" using by value first-line by reference buffer by value 4
        returning text-length
    move "ZxmlElem_value in a short buffer" to what
    if buffer(1:4) = "42 p" and buffer(5:1) = "#" and text-length = 12
        move 0 to result
    else
        move 1 to result
    end-if
    move 0 to wanted
    perform expect
    call "ZxmlElem_value_compare" using by value first-line by reference z"42 PENS" by value 1 7
        returning result
    move "ZxmlElem_value_compare" to what
    perform expect
    call "ZxmlElem_append_comment" using by value second-line by reference z"by the hundred"
        by value -1 returning result
    move "ZxmlElem_append_comment" to what
    move 1 to wanted
    perform expect
    call "ZxmlElem_get_comment" using by value second-line by reference buffer
        by value buffer-size returning text-length
    move "ZxmlElem_get_comment" to what
    move "by the hundred" to wanted-text
    perform expect-text
    call "ZxmlElem_append_comment" using by value third-line by reference z"away"
        by value -1 returning result
    call "ZxmlElem_delete_comment" using by value third-line returning result
    move "ZxmlElem_delete_comment" to what
    perform expect.

check-attributes.
    call "ZxmlElem_attribute_count" using by value third-line returning result
    move "ZxmlElem_attribute_count without any" to what
    move 0 to wanted
    perform expect
    move ZXML-NO-ATTRIBUTES to wanted
    move "The specified element has no attributes" to wanted-text
    perform expect-element-error
    call "ZxmlElem_add_attribute" using by value third-line by reference z"item" by value -1
        by reference z"I-1" by value -1 returning result
    move "ZxmlElem_add_attribute" to what
    move 1 to wanted
    perform expect
    call "ZxmlElem_add_attribute" using by value third-line by reference "bin." by value 3
        by reference "17 b" by value 4 returning result
    move 2 to wanted
    perform expect
    call "ZxmlElem_attribute_count" using by value third-line returning result
    move "ZxmlElem_attribute_count" to what
    perform expect
    call "ZxmlElem_attribute_name" using by value third-line 1 by reference buffer
        by value buffer-size returning text-length
    move "ZxmlElem_attribute_name" to what
    move "bin" to wanted-text
    perform expect-text
    call "ZxmlElem_attribute_name_compare" using by value third-line 1 by reference z"BIN"
        by value 1 -1 returning result
    move "ZxmlElem_attribute_name_compare" to what
    move 0 to wanted
    perform expect
    call "ZxmlElem_attribute_value" using by value third-line 0 by reference buffer
        by value buffer-size returning text-length
    move "ZxmlElem_attribute_value" to what
    move "I-1" to wanted-text
    perform expect-text
    call "ZxmlElem_attribute_value_i" using by value third-line 1 returning result
    move "ZxmlElem_attribute_value_i" to what
    move 17 to wanted
    perform expect
    call "ZxmlElem_attribute_value_compare" using by value third-line 1 by reference z"17"
        by value 0 2 returning result
    move "ZxmlElem_attribute_value_compare" to what
    move 0 to wanted
    perform expect
    call "ZxmlElem_modify_attribute" using by value third-line 0 by reference z"I-2 < 3"
        by value -1 returning result
    move "ZxmlElem_modify_attribute" to what
    move 1 to wanted
    perform expect
    call "ZxmlElem_delete_attribute" using by value third-line 1 returning result
    move "ZxmlElem_delete_attribute" to what
    perform expect
    call "ZxmlElem_delete_attribute" using by value third-line 1 returning result
    move "ZxmlElem_delete_attribute of no number" to what
    move 0 to wanted
    perform expect
    move ZXML-BAD-ATTRIBUTE to wanted
    move "Invalid attribute number" to wanted-text
    perform expect-element-error.

check-instructions.
    call "ZxmlParser_processing_instruction_count" using by value parser returning result
    move "ZxmlParser_processing_instruction_count without any" to what
    move 0 to wanted
    perform expect
    move ZXML-NO-INSTRUCTIONS to wanted
    move "No processing instructions are available" to wanted-text
    perform expect-parser-error
    call "ZxmlParser_set_processing_instruction" using by value parser 0
        by reference z"sort" by value -1 by reference "by-date." by value 7 returning result
    move "ZxmlParser_set_processing_instruction" to what
    move 1 to wanted
    perform expect
    call "ZxmlParser_set_processing_instruction" using by value parser 1
        by reference z"print" by value -1 by reference z"twice" by value -1 returning result
    perform expect
    call "ZxmlParser_processing_instruction_count" using by value parser returning result
    move "ZxmlParser_processing_instruction_count" to what
    move 3 to wanted
    perform expect
    call "ZxmlParser_get_processing_instruction_target" using by value parser 1
        by reference buffer by value buffer-size returning text-length
    move "ZxmlParser_get_processing_instruction_target" to what
    move "print" to wanted-text
    perform expect-text
    call "ZxmlParser_delete_processing_instruction" using by value parser 1 returning result
    move "ZxmlParser_delete_processing_instruction" to what
    move 1 to wanted
    perform expect
    call "ZxmlParser_get_processing_instruction_data" using by value parser 0
        by reference buffer by value buffer-size returning text-length
    move "ZxmlParser_get_processing_instruction_data" to what
    move "by-date" to wanted-text
    perform expect-text
    call "ZxmlParser_get_processing_instruction_data" using by value parser 1
        by reference buffer by value buffer-size returning result
    move "an instruction of no number" to what
    move -1 to wanted
    perform expect
    move ZXML-BAD-INSTRUCTION to wanted
    move "Invalid processing instruction number" to wanted-text
    perform expect-parser-error.

*> To strings, and to files that the reading takes up.
check-writing.
    call "ZxmlParser_write_memory" using by value parser returning string-address
    move "ZxmlParser_write_memory" to what
    move spaces to wanted-text
    string '<?xml version="1.0" encoding="ISO-8859-1" standalone="yes"?>' x"0A"
        "<?sort by-date?>" x"0A"
        "<orders>" x"0A"
        "  <line>42 pens &amp; M" x"FC" "</line>" x"0A"
        "  <!-- by the hundred -->" x"0A"
        "  <line/>" x"0A"
        "  <line" x"0A"
        '       item="I-2 &lt; 3"/>' x"0A"
        "</orders>" x"0A" delimited by size into wanted-text
    perform expect-string

    call "ZSTRINGNew" using by value capacity-by-value by reference z"calls" z"xml_calls"
        returning string-address
    call "ZxmlElem_write_ascii" using by value string-address ZXML-UTF-8
        by reference z"<list>" by value 0 returning result
    move "ZxmlElem_write_ascii" to what
    move 6 to wanted
    perform expect
    call "ZxmlElem_write_newline" using by value string-address ZXML-UTF-8 returning result
    move "ZxmlElem_write_newline" to what
    move 1 to wanted
    perform expect
    call "ZxmlElem_write" using by value string-address ZXML-UTF-8 third-line 1
        returning result
    move "ZxmlElem_write" to what
    perform expect
    set piece-address to address of piece-text
    move length of piece-text to piece-length
    *> ZXML-ESCAPE and ZXML-TRIM
    call "ZxmlElem_write_with_encoding" using by value string-address ZXML-UTF-8
        by reference text-piece by value 3 returning result
    move "ZxmlElem_write_with_encoding" to what
    move 8 to wanted
    perform expect
    move spaces to wanted-text
    string "<list>" x"0A" " <line" x"0A" '      item="I-2 &lt; 3"/>' x"0A" "5 &lt; 6"
        delimited by size into wanted-text
    move "pieces written" to what
    perform expect-string

    call "ZxmlParser_write_file" using by value parser by reference z"calls.xml" by value 0
        returning result
    move "ZxmlParser_write_file" to what
    move 1 to wanted
    perform expect
    call "ZxmlParser_write" using by value parser by reference z"calls_told.xml"
        returning result
    move "ZxmlParser_write" to what
    perform expect
    call "ZxmlParser_write" using by value parser by reference z"no/such/folder/x.xml"
        returning result
    move "ZxmlParser_write to no folder" to what
    move 0 to wanted
    perform expect
    move ZXML-CANNOT-OPEN to wanted
    move "Unable to open named file" to wanted-text
    perform expect-parser-error
    *> On the error output.
    call "ZxmlElem_dump" using by value orders 1 returning omitted
    call "ZxmlParser_dump" using by value parser returning omitted.

check-reading.
    call "ZxmlParser_new" using by reference z"calls_told.xml" by value ZXML-READ-USUAL -1
        returning second-parser
    call "ZxmlParser_parse_record" using by value second-parser returning result
    move "ZxmlParser_parse_record" to what
    move 1 to wanted
    perform expect
    call "ZxmlParser_current" using by value second-parser returning result
    call "ZxmlParser_top_element" using by value second-parser returning wanted
    move "ZxmlParser_current between records" to what
    perform expect
    call "ZxmlElem_first_child" using by value wanted returning element
    call "ZxmlElem_delete" using by value element returning result
    move "ZxmlElem_delete" to what
    move 1 to wanted
    perform expect
    call "ZxmlElem_is_element" using by value element returning result
    move "an element that was deleted" to what
    move 0 to wanted
    perform expect
    call "ZxmlParser_release" using by value second-parser returning result
    move "ZxmlParser_release" to what
    move 1 to wanted
    perform expect

    *> In memory, with names, hash and content models.
    string "<?xml version='1.0'?><!DOCTYPE list [<!ELEMENT list (pen)*>]>"
        "<list><Pen-Name/><pen>5</pen></list>" x"00" delimited by size into document
    compute result = ZXML-READ-WHOLE + ZXML-NAMES-UPPER + ZXML-HASH
        + ZXML-ELEMENT-DECLARATIONS
    call "ZxmlParser_new" using by reference document by value result -1
        returning second-parser
    call "ZxmlParser_models" using by value second-parser returning table-address
    call "ZTTREEFind" using by value table-address by reference z"list"
        returning text-address
    move "ZxmlParser_models" to what
    perform expect-not-null
    call "ZxmlParser_get_hash" using by value second-parser returning table-address
    call "HASH_GET" using by value table-address by reference z"PEN_NAME"
        returning text-address
    move "ZxmlParser_get_hash" to what
    perform expect-not-null
    if text-address not = null
        set address of zxml-hash-node to text-address
        call "ZxmlElem_name" using by value xn-element by reference buffer
            by value buffer-size returning text-length
        move "PEN_NAME" to wanted-text
        perform expect-text
    end-if
    call "ZxmlParser_release" using by value second-parser returning result.

check-feeding.
    call "os_fopen" using by reference z"calls.xml" z"r" by value 0 returning stream
    call "expat_create_parser" using by value ZXML-READ-USUAL returning state
    call "parse_to_next_greaterthan" using by value state stream returning omitted
    move "parse_to_next_greaterthan" to what
    move 0 to wanted
    perform expect-file-error
    call "parse_to_end_of_file" using by value state stream returning omitted
    move "parse_to_end_of_file" to what
    move FILE-ERROR-END to wanted
    perform expect-file-error
    *> On the error output.
    call "dump_parser" using by value state returning omitted
    call "expat_destroy_parser" using by value state returning omitted
    call "os_fclose" using by value stream returning result

    *> From memory: the bytes between position and end, and no file.
    move "<list><pen>5</pen></list>" to document
    call "expat_create_parser" using by value ZXML-ELEMENTS returning state
    set address of zxml-expat-state to state
    set xs-position to address of document
    set xs-end to address of document(26:1)
    set stream to null
    call "parse_to_end_of_file" using by value state stream returning omitted
    move "parse_to_end_of_file from memory" to what
    move FILE-ERROR-END to wanted
    perform expect-file-error
    call "ZxmlElem_first_child" using by value xs-top-element returning element
    call "ZxmlElem_name" using by value element by reference buffer
        by value buffer-size returning text-length
    move "pen" to wanted-text
    perform expect-text
    call "expat_destroy_parser" using by value state returning omitted.

check-bad-handles.
    call "ZxmlElem_value_i" using by value bad-handle returning result
    move "ZxmlElem_value_i of no element" to what
    move 0 to wanted
    perform expect
    move ZXML-BAD-ELEMENT to wanted
    move "The passed handle is not a valid element handle" to wanted-text
    perform expect-element-error
    call "ZxmlParser_parse_record" using by value bad-handle returning result
    move "ZxmlParser_parse_record of no parser" to what
    move 0 to wanted
    perform expect
    move ZXML-BAD-PARSER to wanted
    move "The passed handle is not a valid parser handle" to wanted-text
    perform expect-parser-error.

check-release.
    call "ZxmlParser_release" using by value parser returning result
    move "ZxmlParser_release of a built document" to what
    move 1 to wanted
    perform expect
    call "ZxmlElem_is_element" using by value first-line returning result
    move "an element of a document that was released" to what
    move 0 to wanted
    perform expect.

expect.
    if result = wanted
        add 1 to right-count
    else
        add 1 to wrong-count
        move result to shown
        move wanted to shown-wanted
        display function trim(what) ": " function trim(shown) ", not "
            function trim(shown-wanted)
    end-if.

*> A text that was fetched: its length, and the zero byte behind it.
expect-text.
    if text-length = function length(function trim(wanted-text trailing))
            and buffer(1:text-length) = wanted-text and buffer(text-length + 1:1) = x"00"
        add 1 to right-count
    else
        add 1 to wrong-count
        display function trim(what) ": " buffer(1:60)
    end-if.

expect-c-text.
    move spaces to buffer
    if text-address not = null
        set address of c-text to text-address
        string c-text delimited by x"00" into buffer
    end-if
    if buffer = wanted-text
        add 1 to right-count
    else
        add 1 to wrong-count
        display function trim(what) ": " function trim(buffer) ", not "
            function trim(wanted-text)
    end-if.

*> A string of the host, which goes then.
expect-string.
    call "ZStringGet" using by value string-address returning text-address
    perform expect-c-text
    call "ZSTRINGDelete" using by value string-address returning omitted.

expect-null.
    if text-address = null
        add 1 to right-count
    else
        add 1 to wrong-count
        display function trim(what) ": something"
    end-if.

expect-not-null.
    if text-address not = null
        add 1 to right-count
    else
        add 1 to wrong-count
        display function trim(what) ": nothing"
    end-if.

expect-element-error.
    call "ZxmlElem_error" using by reference error-number returning text-address
    move error-number to result
    perform expect
    perform expect-c-text.

expect-parser-error.
    call "ZxmlParser_error" using by reference error-number returning text-address
    move error-number to result
    perform expect
    perform expect-c-text.

expect-file-error.
    call "Zstdlib_f_errno" returning text-address
    set address of c-text to text-address
    *> The low byte of 16 bits.
    compute result = function ord(c-text(1:1)) - 1
    perform expect.
