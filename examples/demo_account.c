/* Scene: log in (a wrong password first), rename, read the account, log out. */
#include <string.h>

#include "demo_support.h"

static void show_account(const char* what, Answer* a) {
  MorvantaAccountInfo* info;
  if (!answer_wait(a)) {
    demo_line(what, "no answer");
    return;
  }
  info = (MorvantaAccountInfo*)a->payload;
  if (a->code != 0 || !info) {
    demo_line(what, "refused: code %d, \"%s\"", a->code, a->message);
    return;
  }
  demo_line(what, "%s (%s), meeting number %s, email %s", info->nickname, info->user_uuid, info->private_meeting_num,
            info->email ? info->email : "(none)");
  Morvanta_FreeAccountInfo(info);
}

int demo_account_scene(MorvantaSDK_T* sdk) {
  MorvantaAccountManager_T* account = Morvanta_GetAccountManager(sdk);
  MorvantaLoginByPasswordOptions good = {"alice", "alice-password"};
  MorvantaLoginByPasswordOptions bad = {"alice", "not-her-password"};
  Answer a;

  fprintf(demo_out, "\nAccount\n");
  demo_line("account manager", account ? "ready" : "missing");
  if (!account) return 1;

  answer_init(&a);
  Morvanta_Account_LoginByPassword(account, &bad, on_account, &a);
  show_account("login with a wrong password", &a);

  answer_init(&a);
  Morvanta_Account_LoginByPassword(account, &good, on_account, &a);
  show_account("login as alice", &a);

  answer_init(&a);
  Morvanta_Account_UpdateNickname(account, "Alice in Wonderland", on_done, &a);
  answer_show("rename", &a);

  answer_init(&a);
  Morvanta_Account_GetAccountInfo(account, on_account, &a);
  show_account("read the account", &a);

  answer_init(&a);
  Morvanta_Account_Logout(account, on_done, &a);
  answer_show("logout", &a);

  answer_init(&a);
  Morvanta_Account_GetAccountInfo(account, on_account, &a);
  show_account("read the account again", &a);

  /* The later scenes need a logged-in user. */
  answer_init(&a);
  Morvanta_Account_LoginByPassword(account, &good, on_account, &a);
  show_account("login again", &a);

  Morvanta_DestroyAccountManagerHandle(account);
  return 0;
}
