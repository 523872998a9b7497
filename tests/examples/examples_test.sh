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

exit $failed
