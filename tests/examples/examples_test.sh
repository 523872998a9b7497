#!/bin/sh
# SPDX-License-Identifier: MIT
#
#   examples_test.sh TOOL EXAMPLES FOLDER
#
# Runs the round trip of the examples, and then looks at single values in the
# database: those that the COBOL programs computed, worked out by hand.
set -eu

tool=$1
examples=$2
work=$3
failed=0

rm -rf "$work"
"$examples/round_trip" "$tool" "$work"

expect() {
    got=$(sqlite3 -batch "$work/demo.db" "$1")
    if [ "$got" != "$2" ]; then
        echo "examples_test: $1" >&2
        echo "  gave     '$got'" >&2
        echo "  expected '$2'" >&2
        failed=1
    fi
}

# Number 10000 is the last of 500: 500 * 7919 = 3959500, less 2000003 is 1959497
# hundredths, less 10000 is 9594.97; the discount is 0 / 8 - 1.5.
expect "SELECT cust_name, cust_city, cust_country, balance, discount, orders_placed
        FROM customers WHERE cust_id = 10000" "Dmitri Fischer|Lisboa|PT|9594.97|-1.500|845"
expect "SELECT count(*), count(DISTINCT cust_name), min(length(cust_name)) FROM customers" "500|77|9"

# Every ninth order takes goods back.  Order 9 has one line, of 9 + 1 + 1 pieces at
# (9 * 37 + 11) / 100 + 0.99.
expect "SELECT line_item_1, line_quantity_1, line_price_1, line_item_2, line_quantity_2, delivered_1_1,
               order_status, order_total
        FROM orders WHERE order_no = 700009" "ITEM-1038|-11|4.43||0|-11|R|-48.73"
expect "SELECT count(*), sum(order_status = 'R') FROM orders" "800|88"

# Four bins of five are filled; bin 1 holds 7919 modulo 4001, less 20.
expect "SELECT count(*), sum(stock_item = '') FROM stock" "160|0"
expect "SELECT stock_item, stock_text, stock_quantity, stock_price, stock_weight = 2.0 / 7
        FROM stock WHERE stock_item = 'ITEM-1007' ORDER BY 3 DESC LIMIT 1" \
    "ITEM-1007|bracket, size 1007|3898|19.437|1"

# Contract 1 starts on 1986-02-01, was signed (11 modulo 60) + 1 days before and ends
# 364 + 19 days behind it; it was never reviewed, which its blanks say.
expect "SELECT signed_on, born_on, starts_on, ends_on, reviewed_on FROM contracts
        WHERE contract_no = 400001" "1986-01-20|1966-06-03|1986-02-01|1987-02-19|1960-01-02"
# Zeros, nines, blanks, no such day and no date at all, in each storage that has them.
expect "SELECT group_concat(signed_on) FROM (SELECT signed_on FROM contracts
        WHERE contract_no IN (400005, 400006, 400043) ORDER BY contract_no)" \
    "1960-01-01,1960-01-02,1960-01-02"
expect "SELECT group_concat(coalesce(born_on, 'null')) FROM (SELECT born_on FROM contracts
        WHERE contract_no IN (400008, 400013, 400033) ORDER BY contract_no)" \
    "1960-01-02,1960-01-02,null"
expect "SELECT group_concat(starts_on) FROM (SELECT starts_on FROM contracts
        WHERE contract_no IN (400009, 400029) ORDER BY contract_no)" "1960-01-01,2059-12-31"
expect "SELECT group_concat(ends_on) FROM (SELECT ends_on FROM contracts
        WHERE contract_no IN (400003, 400007) ORDER BY contract_no)" "2059-12-31,1960-01-01"
expect "SELECT group_concat(coalesce(reviewed_on, 'null')) FROM (SELECT reviewed_on FROM contracts
        WHERE contract_no IN (400002, 400003, 400004, 400053) ORDER BY contract_no)" \
    "1960-01-01,1988-06-27,2059-12-31,null"
# Only what was typed in wrongly is not told by the columns.
expect "SELECT count(*), count(exact_record), count(born_on), count(reviewed_on) FROM contracts" \
    "300|20|295|295"

# Contracts have one to four pay steps, 750 in all; the second one has three, of 1800 +
# 2 * 37 + 112.5 for each step.  Occurrences that were not filled have no row.
expect "SELECT count(*) FROM contract_steps" "750"
expect "SELECT group_concat(step_from || ' ' || step_pay) FROM contract_steps
        JOIN contracts USING (record_number) WHERE contract_no = 400002" \
    "1987-03-01 1986.50,1988-03-01 2099.00,1989-03-01 2211.50"

# 60 batches hold 306 entries; every sixth is adjusted, every other of these reversed.
expect "SELECT count(*), count(clerk), count(account), count(quantity), count(of_line),
               count(old_amount), count(line_total), count(exact_record) FROM journal" \
    "477|60|357|306|51|25|60|0"
# Entry 12, on line 5 of batch 2: 12 * 7919 modulo 90001 is 5027 hundredths, less 200.
expect "SELECT batch_no, line_no, kind, amount, of_line, old_amount, new_batch, clerk, quantity
        FROM journal WHERE reason = 'R' ORDER BY record_number LIMIT 1" "2|6|A|149.73|5|-149.73|3||"

exit $failed
