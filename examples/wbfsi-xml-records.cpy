*> SPDX-License-Identifier: MIT
*>
*> The records that XML functions take and give by address, for the linkage section:
*> SET ADDRESS OF them to the pointer.  SYNC lays them out as C does, in both widths.

*> ZxmlExpatState, what expat_create_parser returns.  A program that brings the bytes
*> itself sets xs-position to the first and xs-end behind the last.
01  zxml-expat-state.
    05  xs-parser               usage pointer sync.
    05  xs-flags                binary-long sync.
    05  xs-version              usage pointer sync.
    05  xs-encoding             usage pointer sync.
    05  xs-buffer               usage pointer sync.
    05  xs-position             usage pointer sync.
    05  xs-end                  usage pointer sync.
    05  xs-encoding-type        binary-long sync.
    05  xs-element-depth        binary-long sync.
    05  xs-standalone           binary-long sync.
    05  xs-instructions         usage pointer sync.
    05  xs-top-element          binary-long sync.
    05  xs-current-element      binary-long sync.
    05  xs-element-hash         usage pointer sync.
    05  xs-models               usage pointer sync.
    05  xs-top-comments         usage pointer sync.
    05  xs-pending-comments     usage pointer sync.
    05  xs-doctype-name         usage pointer sync.
    05  xs-doctype-text         usage pointer sync.
    05  xs-public-id            usage pointer sync.
    05  xs-system-id            usage pointer sync.
    05  xs-state-bits           binary-long sync.

*> ZxmlHashNode, the entries of the element hash.
01  zxml-hash-node.
    05  xn-name                 usage pointer sync.
    05  xn-element              binary-long sync.
    05  xn-next                 usage pointer sync.

*> ZxmlTextPiece, for ZxmlElem_write_with_encoding; ZXML-UTF-8 is the code page.
01  zxml-text-piece.
    05  xt-text                 usage pointer sync.
    05  xt-length               binary-long sync.
    05  xt-code-page            binary-long sync.
