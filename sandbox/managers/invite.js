// --- Invite ------------------------------------------------------------------
// Account look-ups for invitations, answered from the user directory; both
// need a logged-in user. An account found is {userUuid, name, avatar?,
// phoneNumber?, dept?}: `name` is the nickname and `dept` the user's company.
//
// The service answers these two in forms of its own rather than the common
// answer shapes. getAccountInfoList puts its list under the key
// `meetingAccountListResp`; per shape, a success is
//   flat    {code: 0, message: "success", result: {meetingAccountListResp}}
//   nested  {result: {code: 0, message: "success", meetingAccountListResp}}
//   result  {result: {meetingAccountListResp}}
//   bare    {meetingAccountListResp}
//   json    the flat form as JSON text
// and failures keep the common shapes. searchAccountInfoByPhone answers a
// bare array of accounts on success whatever the shape.
function inviteAccountRecord(user) {
  const rec = { userUuid: user.userUuid, name: user.nickname };
  if (isNonEmptyString(user.avatar)) rec.avatar = user.avatar;
  if (isNonEmptyString(user.phoneNumber)) rec.phoneNumber = user.phoneNumber;
  if (isNonEmptyString(user.corpName)) rec.dept = user.corpName;
  return rec;
}

class InviteManager extends Manager {
  constructor(sandbox) { super(sandbox, 'invite'); }

  // Unknown ids are left out; each account appears once, in the order asked.
  getAccountInfoList(userUuids) {
    let payload; // set only when the logic made the answer
    return this.answer('getAccountInfoList', arguments, () => {
      this.sandbox.requireSession();
      if (!Array.isArray(userUuids) || !userUuids.every((id) => typeof id === 'string')) {
        throw refuse(Codes.INVALID_PARAM, 'userUuids must be an array of strings');
      }
      const users = this.sandbox.directory.users;
      const found = Array.from(new Set(userUuids)).map((id) => users.find((u) => u.userUuid === id)).filter(Boolean);
      payload = { meetingAccountListResp: found.map(inviteAccountRecord) };
      return payload;
    }).then((answer) => InviteManager.listForm(answer, payload));
  }

  searchAccountInfoByPhone(phoneNumber) {
    let accounts;
    return this.answer('searchAccountInfoByPhone', arguments, () => {
      this.sandbox.requireSession();
      if (!isNonEmptyString(phoneNumber)) throw refuse(Codes.INVALID_PARAM, 'phoneNumber is required');
      accounts = this.sandbox.directory.users.filter((u) => u.phoneNumber === phoneNumber).map(inviteAccountRecord);
      return accounts;
    }).then((answer) => (accounts === undefined ? answer : accounts));
  }

  // Recasts a shaped success of getAccountInfoList into the service's form
  // (see above). The shaped answer holds `payload` itself, so the shape is
  // told by where it sits; answers not made from it (failures, `answer`
  // overrides) pass unchanged.
  static listForm(answer, payload) {
    if (payload === undefined || answer === payload) return answer;
    if (typeof answer === 'string') {
      const flat = JSON.parse(answer);
      return JSON.stringify({ code: flat.code, message: flat.message, result: payload });
    }
    if (answer.data === payload) return { code: answer.code, message: answer.message, result: payload };
    const inner = answer.result;
    if (inner === payload) return answer;
    if (inner && inner.data === payload) {
      return { result: Object.assign({ code: inner.code, message: inner.message }, payload) };
    }
    return answer;
  }
}

