// --- Account ---------------------------------------------------------------

class AccountManager extends Manager {
  constructor(sandbox) { super(sandbox, 'account'); }

  get directory() { return this.sandbox.directory; }

  // Starts a session for the user and answers its account record. A new login
  // replaces any session in place.
  openSession(user, userToken) {
    if (user.disabled) throw refuse(Codes.ACCOUNT_DISABLED, 'account is disabled');
    const token = userToken || `ut-${randomHex(this.sandbox.random, 24)}`;
    this.directory.issuedTokens.set(token, user.username);
    this.sandbox.session = { user, userToken: token };
    return accountRecord(user, token);
  }

  loginByPassword(options) {
    return this.answer('loginByPassword', arguments, () => {
      const opts = requireOptions(options);
      const username = requireString(opts, 'username');
      const password = requireString(opts, 'password');
      const user = this.directory.byUsername(username);
      if (!user || user.password !== password) throw refuse(Codes.BAD_CREDENTIALS, 'incorrect username or password');
      return this.openSession(user);
    });
  }

  loginBySmsCode(options) {
    return this.answer('loginBySmsCode', arguments, () => {
      const opts = requireOptions(options);
      const phoneNumber = requireString(opts, 'phoneNumber');
      const smsCode = requireString(opts, 'smsCode');
      const user = this.directory.byPhone(phoneNumber);
      if (!user) throw refuse(Codes.ACCOUNT_NOT_FOUND, 'no account is registered with this phone number');
      if (user.smsCode !== smsCode) throw refuse(Codes.BAD_SMS_CODE, 'incorrect or expired verification code');
      return this.openSession(user);
    });
  }

  loginByToken(options) {
    return this.answer('loginByToken', arguments, () => {
      const opts = requireOptions(options);
      const accountId = requireString(opts, 'accountId');
      const accountToken = requireString(opts, 'accountToken');
      if (hasOwn(opts, 'authType') && !Number.isFinite(opts.authType)) {
        throw refuse(Codes.INVALID_PARAM, 'authType must be a number');
      }
      if (hasOwn(opts, 'isTemporary') && !['boolean', 'number'].includes(typeof opts.isTemporary)) {
        throw refuse(Codes.INVALID_PARAM, 'isTemporary must be a boolean');
      }
      const user = this.directory.byAccountId(accountId);
      if (!user || !this.directory.tokenValid(user, accountToken)) {
        throw refuse(Codes.BAD_TOKEN, 'token is invalid or expired');
      }
      return this.openSession(user, accountToken);
    });
  }

  getAccountInfo() {
    return this.answer('getAccountInfo', arguments, () => {
      const session = this.sandbox.requireSession();
      return accountRecord(session.user, session.userToken);
    });
  }

  logout() {
    return this.answer('logout', arguments, () => {
      const session = this.sandbox.requireSession();
      // A long-lived account token stays valid; a session token ends here.
      if (session.userToken !== session.user.accountToken) this.directory.issuedTokens.delete(session.userToken);
      this.sandbox.session = null;
      return null;
    });
  }

  resetPassword(options) {
    return this.answer('resetPassword', arguments, () => {
      const { user } = this.sandbox.requireSession();
      const opts = requireOptions(options);
      const oldPassword = requireString(opts, 'oldPassword');
      const newPassword = requireString(opts, 'newPassword');
      if (oldPassword !== user.password) throw refuse(Codes.WRONG_OLD_PASSWORD, 'old password is incorrect');
      if (newPassword.length < 8) throw refuse(Codes.WEAK_PASSWORD, 'new password must have at least 8 characters');
      if (newPassword === oldPassword) throw refuse(Codes.SAME_PASSWORD, 'new password must differ from the old one');
      user.password = newPassword;
      user.isInitialPassword = false;
      return null;
    });
  }

  updateNickname(nickname) {
    return this.answer('updateNickname', arguments, () => {
      const { user } = this.sandbox.requireSession();
      if (typeof nickname !== 'string') throw refuse(Codes.INVALID_PARAM, 'nickname must be a string');
      const trimmed = nickname.trim();
      if (trimmed.length === 0) throw refuse(Codes.INVALID_NICKNAME, 'nickname cannot be empty');
      if (Array.from(trimmed).length > 32) {
        throw refuse(Codes.INVALID_NICKNAME, 'nickname is longer than 32 characters');
      }
      user.nickname = trimmed;
      return null;
    });
  }
}

