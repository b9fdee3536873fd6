// Mnemonic table of the assembler: instruction code, operand count and operand kinds of every
// mnemonic the virtual machine executes, found through a minimal perfect hash.
#ifndef TARN_ASSEMBLER_OPCODELOOKUP_H
#define TARN_ASSEMBLER_OPCODELOOKUP_H

// Operand kinds, as the grammar hands them to ProcessImmediate. Kind 6 belongs to no mnemonic.
constexpr int OPERAND_NONE = -1;
constexpr int OPERAND_INTEGER = 0;
constexpr int OPERAND_NUMBER = 1;
constexpr int OPERAND_STRING = 2;
constexpr int OPERAND_SYSTEM = 3;
constexpr int OPERAND_GLOBAL = 4;
constexpr int OPERAND_LOCAL = 5;
constexpr int OPERAND_LABEL = 7;
constexpr int OPERAND_FUNCTION = 8;

// The codes carry the operand size bits of compiled/Segment.h (SEGMENT_FIRST_* and
// SEGMENT_SECOND_*), which announce the operands that follow the code in the segment.

struct OpcodeEntry {
    unsigned code;
    unsigned operand_count;
    int operand_kind1;
    int operand_kind2;
    unsigned name_length;
    const char* name;
};

class OpcodeLookup {
  public:
    // Slots 0-148 hold the mnemonics; slot 149 is an empty entry that no lookup reaches.
    static constexpr int OPCODE_COUNT = 150;
    static constexpr int LAST_SLOT = 148;
    static constexpr int DISPLACEMENT_COUNT = 256;

    // The mnemonics in slot order: each row sits at the slot that the hash of its name and
    // opcode_table give, so the rows and opcode_table change only together. The codes are the
    // ones the virtual machine executes. Columns: instruction code, operand count, kind of the
    // first and second operand (OPERAND_*, -1 for none), length of the name, name.
    // clang-format off
    static constexpr OpcodeEntry opcodes[OPCODE_COUNT] = {
//   code   ops  k1  k2   len  name                   slot
    {0x4006, 1,   5,  -1,   5, "pushl"         },  //   0
    {0x0216, 0,  -1,  -1,   7, "dbopenf"       },  //   1
    {0x5303, 2,   4,   0,   4, "incg"          },  //   2
    {0x003B, 0,  -1,  -1,   3, "ret"           },  //   3
    {0x002E, 0,  -1,  -1,   2, "or"            },  //   4
    {0x4044, 1,   0,  -1,   6, "lineno"        },  //   5
    {0x0202, 0,  -1,  -1,   6, "dbskip"        },  //   6
    {0x0015, 0,  -1,  -1,   3, "out"           },  //   7
    {0x4102, 1,   7,  -1,   7, "importf"       },  //   8
    {0x0032, 0,  -1,  -1,   4, "ecin"          },  //   9
    {0x505C, 2,   0,   0,   5, "swapn"         },  //  10
    {0x4107, 1,   7,  -1,   9, "pop3_loop"     },  //  11
    {0x5113, 2,   7,   0,   5, "httpn"         },  //  12
    {0x4112, 1,   7,  -1,   7, "http_cf"       },  //  13
    {0x0206, 0,  -1,  -1,   8, "dbdelete"      },  //  14
    {0x4026, 1,   7,  -1,   6, "jmp_eq"        },  //  15
    {0x001F, 0,  -1,  -1,   3, "div"           },  //  16
    {0x0043, 0,  -1,  -1,   4, "exit"          },  //  17
    {0x020A, 0,  -1,  -1,  10, "dbsetindex"    },  //  18
    {0x0207, 0,  -1,  -1,  10, "dbundelete"    },  //  19
    {0x403D, 1,   8,  -1,   4, "call"          },  //  20
    {0x0212, 0,  -1,  -1,   7, "dbquery"       },  //  21
    {0x0048, 0,  -1,  -1,   8, "lockfile"      },  //  22
    {0x020C, 0,  -1,  -1,   6, "dbpack"        },  //  23
    {0x000F, 0,  -1,  -1,   4, "popd"          },  //  24
    {0x0019, 0,  -1,  -1,   6, "bitand"        },  //  25
    {0x001E, 0,  -1,  -1,   5, "bitsr"         },  //  26
    {0x0203, 0,  -1,  -1,   4, "dbgo"          },  //  27
    {0x002C, 0,  -1,  -1,   3, "cmp"           },  //  28
    {0x400C, 1,   3,  -1,   4, "pops"          },  //  29
    {0x4004, 1,   3,  -1,   5, "pushs"         },  //  30
    {0x5010, 2,   2,   2,   5, "popdc"         },  //  31
    {0x0055, 0,  -1,  -1,   5, "poprn"         },  //  32
    {0x0038, 0,  -1,  -1,   2, "gt"            },  //  33
    {0x4027, 1,   7,  -1,   6, "jmp_lt"        },  //  34
    {0x0208, 0,  -1,  -1,   9, "dbprimary"     },  //  35
    {0x0034, 0,  -1,  -1,   2, "ne"            },  //  36
    {0x020F, 0,  -1,  -1,   8, "dbreveal"      },  //  37
    {0x0018, 0,  -1,  -1,   3, "cat"           },  //  38
    {0x5302, 2,   4,   0,   5, "cmpgi"         },  //  39
    {0x4002, 1,   0,  -1,   5, "pushi"         },  //  40
    {0x0051, 0,  -1,  -1,   8, "out_comp"      },  //  41
    {0x4106, 1,   7,  -1,   4, "pop3"          },  //  42
    {0x0025, 0,  -1,  -1,   6, "roundf"        },  //  43
    {0x0033, 0,  -1,  -1,   2, "eq"            },  //  44
    {0x002D, 0,  -1,  -1,   3, "and"           },  //  45
    {0x4103, 1,   7,  -1,  11, "import_loop"   },  //  46
    {0x0059, 0,  -1,  -1,  11, "capture_end"   },  //  47
    {0x0020, 0,  -1,  -1,   3, "mul"           },  //  48
    {0x0218, 0,  -1,  -1,  10, "dbrollback"    },  //  49
    {0x002F, 0,  -1,  -1,   2, "in"            },  //  50
    {0x404A, 1,   2,  -1,  10, "sourcefile"    },  //  51
    {0x001B, 0,  -1,  -1,   6, "bitxor"        },  //  52
    {0x404E, 1,   2,  -1,   8, "localize"      },  //  53
    {0x4104, 1,   7,  -1,  11, "import_stop"   },  //  54
    {0x0046, 0,  -1,  -1,  11, "do_function"   },  //  55
    {0x0049, 0,  -1,  -1,  12, "lockfile_end"  },  //  56
    {0x0116, 0,  -1,  -1,   9, "async_end"     },  //  57
    {0x0217, 0,  -1,  -1,   8, "dbcommit"      },  //  58
    {0x001A, 0,  -1,  -1,   5, "bitor"         },  //  59
    {0x020E, 0,  -1,  -1,   8, "dbcreate"      },  //  60
    {0x4056, 1,   2,  -1,   6, "poprnc"        },  //  61
    {0x0037, 0,  -1,  -1,   2, "lt"            },  //  62
    {0x0030, 0,  -1,  -1,   3, "cin"           },  //  63
    {0x0011, 0,  -1,  -1,   4, "popn"          },  //  64
    {0x0013, 0,  -1,  -1,   5, "spush"         },  //  65
    {0x010B, 0,  -1,  -1,   8, "smtp_end"      },  //  66
    {0x4110, 1,   7,  -1,  13, "commerce_loop" },  //  67
    {0x0021, 0,  -1,  -1,   3, "mod"           },  //  68
    {0x4012, 1,   2,  -1,   5, "popnc"         },  //  69
    {0x003A, 0,  -1,  -1,   3, "dup"           },  //  70
    {0x4109, 1,   7,  -1,   9, "pop3_stop"     },  //  71
    {0x0040, 0,  -1,  -1,   4, "memb"          },  //  72
    {0x003C, 0,  -1,  -1,   4, "retn"          },  //  73
    {0x0205, 0,  -1,  -1,   8, "dbupdate"      },  //  74
    {0x0215, 0,  -1,  -1,  11, "dbrevealagg"   },  //  75
    {0x001C, 0,  -1,  -1,   5, "bitoc"         },  //  76
    {0x5008, 2,   2,   2,   6, "pushdc"        },  //  77
    {0x5304, 2,   4,   4,   5, "modgg"         },  //  78
    {0x0016, 0,  -1,  -1,   3, "add"           },  //  79
    {0x410C, 1,   7,  -1,   4, "http"          },  //  80
    {0x410A, 1,   7,  -1,   4, "smtp"          },  //  81
    {0x0022, 0,  -1,  -1,   6, "rounds"        },  //  82
    {0x4001, 1,   2,  -1,   5, "pushc"         },  //  83
    {0x410E, 1,   7,  -1,   9, "http_stop"     },  //  84
    {0x5301, 2,   4,   4,   5, "cmpgg"         },  //  85
    {0x400A, 1,   2,  -1,   6, "pushnc"        },  //  86
    {0x4111, 1,   7,  -1,  13, "commerce_stop" },  //  87
    {0x0014, 0,  -1,  -1,   4, "spop"          },  //  88
    {0x0007, 0,  -1,  -1,   5, "pushd"         },  //  89
    {0x003E, 0,  -1,  -1,   4, "elem"          },  //  90
    {0x0017, 0,  -1,  -1,   3, "sub"           },  //  91
    {0x410F, 1,   7,  -1,   8, "commerce"      },  //  92
    {0x0042, 0,  -1,  -1,   5, "store"         },  //  93
    {0x400E, 1,   5,  -1,   4, "popl"          },  //  94
    {0x4101, 1,   7,  -1,   6, "import"        },  //  95
    {0x4029, 1,   7,  -1,   6, "jmp_le"        },  //  96
    {0x0052, 0,  -1,  -1,   6, "errmsg"        },  //  97
    {0x0201, 0,  -1,  -1,   7, "dbclose"       },  //  98
    {0x0210, 0,  -1,  -1,  10, "dbopenview"    },  //  99
    {0x020B, 0,  -1,  -1,  11, "dbmakeindex"   },  // 100
    {0x5117, 2,   7,   0,   6, "asyncn"        },  // 101
    {0x0045, 0,  -1,  -1,   7, "do_file"       },  // 102
    {0x404F, 1,   2,  -1,   9, "localizev"     },  // 103
    {0x003F, 0,  -1,  -1,   7, "elem_ro"       },  // 104
    {0x0219, 0,  -1,  -1,  10, "dbtransact"    },  // 105
    {0x0036, 0,  -1,  -1,   2, "le"            },  // 106
    {0x0000, 0,  -1,  -1,   4, "noop"          },  // 107
    {0x000B, 0,  -1,  -1,   3, "pop"           },  // 108
    {0x0200, 0,  -1,  -1,   6, "dbopen"        },  // 109
    {0x504B, 2,   0,   0,   8, "tagerror"      },  // 110
    {0x5305, 2,   4,   0,   7, "storegi"       },  // 111
    {0x0204, 0,  -1,  -1,   5, "dbadd"         },  // 112
    {0x4005, 1,   4,  -1,   5, "pushg"         },  // 113
    {0x402A, 1,   7,  -1,   6, "jmp_ge"        },  // 114
    {0x410D, 1,   7,  -1,   9, "http_loop"     },  // 115
    {0x0024, 0,  -1,  -1,   3, "pow"           },  // 116
    {0x0058, 0,  -1,  -1,   7, "capture"       },  // 117
    {0x0105, 0,  -1,  -1,   6, "export"        },  // 118
    {0x020D, 0,  -1,  -1,   9, "dbreindex"     },  // 119
    {0x0009, 0,  -1,  -1,   5, "pushn"         },  // 120
    {0x5114, 2,   7,   0,   5, "smtpn"         },  // 121
    {0x0023, 0,  -1,  -1,   5, "crypt"         },  // 122
    {0x001D, 0,  -1,  -1,   5, "bitsl"         },  // 123
    {0x4025, 1,   7,  -1,   3, "jmp"           },  // 124
    {0x021A, 0,  -1,  -1,   9, "dbcommand"     },  // 125
    {0x005B, 0,  -1,  -1,   4, "swap"          },  // 126
    {0x0057, 0,  -1,  -1,   5, "refer"         },  // 127
    {0x0031, 0,  -1,  -1,   3, "ein"           },  // 128
    {0x4028, 1,   7,  -1,   6, "jmp_gt"        },  // 129
    {0x4054, 1,   5,  -1,   5, "poprl"         },  // 130
    {0x0035, 0,  -1,  -1,   2, "ge"            },  // 131
    {0x402B, 1,   7,  -1,   6, "jmp_ne"        },  // 132
    {0x404D, 1,   2,  -1,   7, "poplvnc"       },  // 133
    {0x0213, 0,  -1,  -1,   8, "dbfilter"      },  // 134
    {0x404C, 1,   0,  -1,   9, "erroutput"     },  // 135
    {0x005A, 0,  -1,  -1,   6, "isnull"        },  // 136
    {0x8003, 1,   1,  -1,   5, "pushf"         },  // 137
    {0x0211, 0,  -1,  -1,  11, "dbcloseview"   },  // 138
    {0x0209, 0,  -1,  -1,   6, "dbfind"        },  // 139
    {0x4050, 1,   0,  -1,   9, "stdoutput"     },  // 140
    {0x400D, 1,   4,  -1,   4, "popg"          },  // 141
    {0x4053, 1,   4,  -1,   5, "poprg"         },  // 142
    {0x0108, 0,  -1,  -1,  11, "pop3_delete"   },  // 143
    {0x0041, 0,  -1,  -1,   7, "memb_ro"       },  // 144
    {0x0047, 0,  -1,  -1,   4, "hide"          },  // 145
    {0x0214, 0,  -1,  -1,  10, "dbrevealdb"    },  // 146
    {0x0039, 0,  -1,  -1,   3, "not"           },  // 147
    {0x4115, 1,   7,  -1,   5, "async"         },  // 148
    {0,      0,   0,   0,   0, nullptr         },  // 149: never reached
    };
    // clang-format on
    static const unsigned char opcode_table[DISPLACEMENT_COUNT];

    OpcodeLookup() {}
    virtual ~OpcodeLookup() {}

    // The entry of the mnemonic, or null. Exact length and case; 'length' of -1 means 'text' is
    // NUL-terminated and is measured.
    const OpcodeEntry* Lookup(const char* text, int length) const;
};

#endif
