; an unknown mnemonic
pushx 1
